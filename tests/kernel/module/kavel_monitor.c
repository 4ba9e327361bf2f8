// SPDX-License-Identifier: GPL-2.0
/*
 * kavel_monitor - the kernel's side of the daemon's channel, under a test's control.
 *
 * Registers the generic netlink family "kavel_monitor", keeps the registration that the daemon
 * sends and, told through /proc/kavel_monitor, sends it packets. Reading that file shows:
 *
 *	family ID, port PORT, registrations N, sent N, failed N, message HEX (the last registration)
 *
 * and it takes these lines:
 *
 *	send COUNT ATTRIBUTE TAG EVENT_ID PAYLOAD	the first '#' of PAYLOAD becomes the packet's number
 *	port PORT					to whom to send, where nobody has registered
 */
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/proc_fs.h>
#include <linux/sched.h>
#include <linux/seq_file.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <net/genetlink.h>

#define CONTROL_FILE "kavel_monitor"
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
	u32 registrations;
	u32 sent;
	u32 failed;
	size_t message_length;
	u8 message[64];
} state;

static int on_register(struct sk_buff *skb, struct genl_info *info)
{
	const struct nlmsghdr *header = info->nlhdr;

	mutex_lock(&state_lock);
	state.port = info->snd_portid;
	state.registrations++;
	state.message_length = min_t(size_t, header->nlmsg_len, sizeof(state.message));
	memcpy(state.message, header, state.message_length);
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

struct order {
	u32 count;
	u32 attribute;
	char tag[128];
	char event_id[128];
	const char *payload;
};

static char *numbered_payload(const char *payload, u32 number)
{
	const char *mark = strchrnul(payload, '#');

	if (!*mark)
		return kstrdup(payload, GFP_KERNEL);
	return kasprintf(GFP_KERNEL, "%.*s%u%s", (int)(mark - payload), payload, number, mark + 1);
}

static int send_packet(const struct order *order, u32 number)
{
	char *payload = numbered_payload(order->payload, number);
	struct packet *packet;
	struct sk_buff *skb;
	size_t size;

	if (!payload)
		return -ENOMEM;
	size = strlen(payload) + 1;
	skb = genlmsg_new(nla_total_size(sizeof(*packet) + size), GFP_KERNEL);
	if (!skb) {
		kfree(payload);
		return -ENOMEM;
	}
	genlmsg_put(skb, state.port, 0, &family, 0, COMMAND_PACKET);
	packet = nla_data(nla_reserve(skb, order->attribute, sizeof(*packet) + size));
	memset(packet, 0, sizeof(*packet));
	strscpy(packet->tag, order->tag, sizeof(packet->tag));
	strscpy(packet->event_id, order->event_id, sizeof(packet->event_id));
	packet->length = size - 1;
	memcpy(packet->payload, payload, size);
	kfree(payload);
	nlmsg_hdr(skb)->nlmsg_len = skb->len;
	return genlmsg_unicast(&init_net, skb, state.port);
}

/* All packets of an order go out whatever becomes of each; the first failure is the result. */
static int send_all(const struct order *order)
{
	int result = 0;
	u32 number;

	if (!state.port)
		return -ENOTCONN;
	for (number = 1; number <= order->count; number++) {
		const int error = send_packet(order, number);

		if (error)
			state.failed++;
		else
			state.sent++;
		if (!result)
			result = error;
		cond_resched();
	}
	return result;
}

static int run_line(char *line)
{
	struct order *order;
	int payload = 0;
	int result = -EINVAL;
	u32 port;

	line[strcspn(line, "\n")] = '\0';
	if (sscanf(line, "port %u", &port) == 1) {
		state.port = port;
		return 0;
	}
	order = kzalloc(sizeof(*order), GFP_KERNEL);
	if (!order)
		return -ENOMEM;
	if (sscanf(line, "send %u %u %127s %127s %n", &order->count, &order->attribute, order->tag,
		   order->event_id, &payload) == 4 && payload) {
		order->payload = line + payload;
		result = send_all(order);
	}
	kfree(order);
	return result;
}

static ssize_t control_write(struct file *file, const char __user *from, size_t size, loff_t *at)
{
	char *line;
	int result;

	if (size >= PAGE_SIZE)
		return -E2BIG;
	line = memdup_user_nul(from, size);
	if (IS_ERR(line))
		return PTR_ERR(line);
	mutex_lock(&state_lock);
	result = run_line(line);
	mutex_unlock(&state_lock);
	kfree(line);
	return result ? result : size;
}

static int control_show(struct seq_file *out, void *unused)
{
	mutex_lock(&state_lock);
	seq_printf(out, "family %d\nport %u\nregistrations %u\nsent %u\nfailed %u\nmessage %*phN\n",
		   family.id, state.port, state.registrations, state.sent, state.failed,
		   (int)state.message_length, state.message);
	mutex_unlock(&state_lock);
	return 0;
}

static int control_open(struct inode *inode, struct file *file)
{
	return single_open(file, control_show, NULL);
}

static const struct proc_ops control = {
	.proc_open = control_open,
	.proc_read = seq_read,
	.proc_lseek = seq_lseek,
	.proc_release = single_release,
	.proc_write = control_write,
};

static int __init monitor_init(void)
{
	const int error = genl_register_family(&family);

	if (error)
		return error;
	if (!proc_create(CONTROL_FILE, 0600, NULL, &control)) {
		genl_unregister_family(&family);
		return -ENOMEM;
	}
	return 0;
}

static void __exit monitor_exit(void)
{
	remove_proc_entry(CONTROL_FILE, NULL);
	genl_unregister_family(&family);
}

module_init(monitor_init);
module_exit(monitor_exit);
MODULE_LICENSE("GPL");
MODULE_DESCRIPTION("Test double of the kernel's side of the kavel channel");
