#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace android::kavel::host {

/** The id of a user or group, given by name or as a number. */
std::optional<uid_t> findUser(const std::string& name);
std::optional<gid_t> findGroup(const std::string& name);

/**
 * True where processes and files can be given to other users. False for an ordinary user,
 * whose sandbox knows one user id only: there everything belongs to that one.
 */
bool canSwitchUsers();

/** The bit mask of capability names (upper case, without CAP_); the unknown name in *unknown. */
std::optional<uint64_t> capabilityMask(const std::vector<std::string>& names, std::string* unknown);

}  // namespace android::kavel::host
