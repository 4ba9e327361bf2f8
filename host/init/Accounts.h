#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace android::kavel::host {

/** The id of a user or group, given by name or as a number; nullopt if there is none. */
std::optional<uid_t> findUser(const std::string& name);
std::optional<gid_t> findGroup(const std::string& name);

/** Sets the owner of @p path. Returns the reason if that fails, otherwise an empty text. */
std::string changeOwner(const std::string& path, const std::string& user, const std::string& group);

/**
 * Whether processes and files can be given to other users. An ordinary user cannot do this, because
 * the sandbox of such a user has only one user id.
 */
bool canSwitchUsers();

}  // namespace android::kavel::host
