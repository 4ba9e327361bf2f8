#pragma once

namespace android::kavel {

/**
 * Packs the log folders and moves the archives that an earlier process of the daemon left in the
 * staging directory. Removes empty folders, and app logs that were staged for a pack. Leaves
 * everything else there as it is.
 *
 * Must be called before the first intake: the search runs on the calling thread, so that it does
 * not find the folders of later catches. The packs run on a separate thread.
 */
void packLeftoverFolders();

}  // namespace android::kavel
