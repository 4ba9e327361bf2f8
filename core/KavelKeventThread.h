#pragma once

#include <cstdlib>
#include <memory>

#include <android-base/unique_fd.h>
#include <utils/Thread.h>

#include "core/KeventPacket.h"
#include "core/KeventWire.h"
#include "platform/Mutex.h"
#include "platform/RepeatCounter.h"

namespace android {

/**
 * Connection to the kernel's monitor. Registers this process and passes each packet to a callback,
 * one at a time, on its own thread. Uses generic netlink if the kernel is 5.10 or newer, and a raw
 * netlink protocol otherwise.
 *
 * If the set-up fails (no socket, no bind, no such family), the thread ends and is not restarted.
 * The rest of the daemon continues without kernel events.
 */
class KavelKeventThread : public Thread {
  public:
    /** @param callback  must not use the packet after it has returned; may be null */
    explicit KavelKeventThread(bool (*callback)(kavel_kevent_packet*));
    ~KavelKeventThread() override;

    bool threadLoop() override;

    /**
     * Chooses the dialect by the kernel release. Returns 0, or -1 and keeps the current dialect.
     */
    int getKernelVersion();
    /** Returns the id of a generic netlink family; -1 if the kernel has no family of that name. */
    int genlGetFamilyId(const char* name) EXCLUDES(mLock);
    /** Sends one attribute. Returns 0 if all of it was sent, otherwise -1. */
    int genlSendMsg(uint16_t type, uint8_t cmd, uint8_t version, uint16_t attrType,
                    const void* data, uint16_t dataLen) REQUIRES(mLock);
    /** Sends @p data to the monitor's family. Returns 0 or -1. */
    int sendKeventGki2(const char* data, int len) EXCLUDES(mLock);
    /** Sends a text in the compat dialect. Returns the number of bytes sent, or -1. */
    int sendKeventComp(int type, int flag, const char* data) EXCLUDES(mLock);
    /** Blocks until the next packet. Returns the number of bytes received, or -EINVAL. */
    int recvKeventGki2() EXCLUDES(mLock);
    int recvKeventComp() EXCLUDES(mLock);

  private:
    struct Free {
        void operator()(char* memory) const { free(memory); }
    };

    bool openSocket();
    bool registerWithKernel();
    int receiveLocked(const char* startLine) REQUIRES(mLock);
    void logPacketLocked() REQUIRES(mLock);

    // Held during the blocking receive. A send from another thread waits for it.
    kavel::Mutex mLock;
    std::unique_ptr<char, Free> mRecvData;   // plus one byte that is always NUL
    kavel_kevent_packet* mPacket = nullptr;  // points into mRecvData; set by the last valid receive
    bool (*const mCallback)(kavel_kevent_packet*);
    base::unique_fd mEventFd;
    bool mIsGki2 = false;
    int mFamilyId = 0;
    kavel::GenlMessage mMsgBuf GUARDED_BY(mLock) = {};
    kavel::RepeatCounter mReceiveFailures GUARDED_BY(mLock);
    kavel::RepeatCounter mForeignPackets GUARDED_BY(mLock);
};

}  // namespace android
