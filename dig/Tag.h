#pragma once

/** Tag of the control socket and of the matcher behind it. */
#define KAVEL_TAG_SOCKET "kavel_socket"
