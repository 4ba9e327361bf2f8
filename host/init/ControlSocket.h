#pragma once

#include <android-base/unique_fd.h>

#include <string>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/**
 * Creates the socket that @p spec describes as @p directory/NAME with its mode, and with its
 * owner where @p giveAway is set, replacing one left over from before. The socket is bound, not
 * listening: that is the service's business. An invalid descriptor on failure, reason in *error.
 */
base::unique_fd createControlSocket(const RcSocket& spec, const std::string& directory,
                                    bool giveAway, std::string* error);

/** The environment variable that carries the socket's descriptor number to the service. */
std::string controlSocketVariable(const std::string& socketName);

}  // namespace android::kavel::host
