#pragma once

namespace android::kavel {

/**
 * Packs the log folders, and moves the archives, that an earlier life of the daemon left behind in
 * the staging directory; removes the empty ones, and app logs that were staged for a pack. Nothing
 * else there is touched.
 *
 * Looks once, on the calling thread, so that nothing of a catch that starts later is taken for a
 * leftover; packs on a thread of its own. To be called before the first intake.
 */
void packLeftoverFolders();

}  // namespace android::kavel
