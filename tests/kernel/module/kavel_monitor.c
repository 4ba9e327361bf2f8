// SPDX-License-Identifier: GPL-2.0
/*
 * kavel_monitor - the kernel's side of the daemon's channel, under a test's control.
 *
 * Registers the generic netlink family "kavel_monitor", keeps the last registration that the daemon
 * sends and sends packets to it. Reading the parameter "control" shows
 *
 *	family ID, port PORT, message HEX (the registration)
 *
 * one on each line, and writing it sends packets:
 *
 *	COUNT ATTRIBUTE TAG EVENT_ID PAYLOAD	the first '#' of PAYLOAD becomes the packet's number
 */
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/sched.h>
#include <linux/string.h>
#include <net/genetlink.h>

#define COMMAND_REGISTER 1
#define COMMAND_PACKET 1
#define ATTRIBUTE_REGISTER 1

/* One report on the wire; the payload, NUL included, follows. */
struct packet {
	u32 type; /* left 0: the attribute that carries the packet says what it is */
	char tag[128];
	char event_id[128];
	u64 length;
	char payload[];
} __packed;

static DEFINE_MUTEX(state_lock);
static struct {
	u32 port;
	size_t message_length;
	u8 message[64];
} state;

static int on_register(struct sk_buff *skb, struct genl_info *info)
{
	mutex_lock(&state_lock);
	state.port = info->snd_portid;
	state.message_length = min_t(size_t, info->nlhdr->nlmsg_len, sizeof(state.message));
	memcpy(state.message, info->nlhdr, state.message_length);
	mutex_unlock(&state_lock);
	return 0;
}

static const struct nla_policy policy[ATTRIBUTE_REGISTER + 1] = {
	[ATTRIBUTE_REGISTER] = { .type = NLA_NUL_STRING, .len = 31 },
};

static const struct genl_small_ops operations[] = {
	{ .cmd = COMMAND_REGISTER, .doit = on_register },
};

static struct genl_family family = {
	.name = "kavel_monitor",
	.version = 1,
	.maxattr = ATTRIBUTE_REGISTER,
	.policy = policy,
	.module = THIS_MODULE,
	.small_ops = operations,
	.n_small_ops = ARRAY_SIZE(operations),
};

static int send_packet(u32 attribute, const char *tag, const char *event_id, const char *payload)
{
	const size_t size = strlen(payload) + 1;
	struct packet *packet;
	struct sk_buff *skb = genlmsg_new(nla_total_size(sizeof(*packet) + size), GFP_KERNEL);

	if (!skb)
		return -ENOMEM;
	genlmsg_put(skb, state.port, 0, &family, 0, COMMAND_PACKET);
	packet = nla_data(nla_reserve(skb, attribute, sizeof(*packet) + size));
	memset(packet, 0, sizeof(*packet));
	strscpy(packet->tag, tag, sizeof(packet->tag));
	strscpy(packet->event_id, event_id, sizeof(packet->event_id));
	packet->length = size - 1;
	memcpy(packet->payload, payload, size);
	nlmsg_hdr(skb)->nlmsg_len = skb->len;
	return genlmsg_unicast(&init_net, skb, state.port);
}

/* Sends all packets, whether or not one of them fails; the last error is the result. */
static int send_all(const char *line)
{
	static char text[1024];
	char tag[128], event_id[128];
	u32 count, attribute, number;
	int start = 0, result = 0;
	const char *payload, *mark;

	if (sscanf(line, "%u %u %127s %127s %n", &count, &attribute, tag, event_id, &start) != 4)
		return -EINVAL;
	payload = line + start;
	mark = strpbrk(payload, "#\n");
	if (!mark)
		return -EINVAL;
	for (number = 1; number <= count; number++) {
		const int before = mark - payload;

		if (*mark == '#')
			snprintf(text, sizeof(text), "%.*s%u%s", before, payload, number, mark + 1);
		else
			snprintf(text, sizeof(text), "%.*s", before, payload);
		result = send_packet(attribute, tag, event_id, strim(text)) ?: result;
		cond_resched();
	}
	return result;
}

static int control_set(const char *line, const struct kernel_param *unused)
{
	int result;

	mutex_lock(&state_lock);
	result = state.port ? send_all(line) : -ENOTCONN;
	mutex_unlock(&state_lock);
	return result;
}

static int control_get(char *text, const struct kernel_param *unused)
{
	int size;

	mutex_lock(&state_lock);
	size = sysfs_emit(text, "family %d\nport %u\nmessage %*phN\n", family.id, state.port,
			  (int)state.message_length, state.message);
	mutex_unlock(&state_lock);
	return size;
}

static const struct kernel_param_ops control = { .set = control_set, .get = control_get };
module_param_cb(control, &control, NULL, 0600);

static int __init monitor_init(void)
{
	return genl_register_family(&family);
}

module_init(monitor_init);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("Test double of the kernel's side of the kavel channel");
