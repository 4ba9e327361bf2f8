#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace android::kavel::host {

/** The id of a user or group, given by name or as a number; nullopt if there is none. */
std::optional<uid_t> findUser(const std::string& name);
std::optional<gid_t> findGroup(const std::string& name);

/** Gives @p path to a user and a group. Returns what went wrong, or an empty text. */
std::string changeOwner(const std::string& path, const std::string& user, const std::string& group);

/**
 * True if processes and files can be given to other users. False for an ordinary user, whose
 * sandbox has only one user id: everything belongs to that one.
 */
bool canSwitchUsers();

}  // namespace android::kavel::host
