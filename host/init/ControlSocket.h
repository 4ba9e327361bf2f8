#pragma once

#include <android-base/unique_fd.h>

#include <string>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/**
 * Creates the socket @p directory/NAME with the mode of @p spec, and with its owner if @p giveAway
 * is set; replaces one of an earlier boot. The service calls listen() on it. On failure, returns an
 * invalid descriptor, with the reason in *error.
 */
base::unique_fd createControlSocket(const RcSocket& spec, const std::string& directory,
                                    bool giveAway, std::string* error);

/** The environment variable that carries the socket's descriptor number to the service. */
std::string controlSocketVariable(const std::string& socketName);

}  // namespace android::kavel::host
