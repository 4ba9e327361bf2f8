#pragma once

#include <android-base/unique_fd.h>

#include <string>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/**
 * Creates the socket @p directory/NAME with the mode of @p spec, and with its owner if @p setOwner
 * is true. Replaces a socket of an earlier boot. The service calls listen() on it. On failure,
 * returns an invalid descriptor, with the reason in *error.
 */
base::unique_fd createControlSocket(const RcSocket& spec, const std::string& directory,
                                    bool setOwner, std::string* error);

/** Name of the environment variable that gives the service the number of its descriptor. */
std::string controlSocketVariable(const std::string& socketName);

}  // namespace android::kavel::host
