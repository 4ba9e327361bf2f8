#include "dig/ControlSocket.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cutils/sockets.h>

#include "dig/DigStatus.h"
#include "dig/dig.h"
#include "platform/Log.h"
#include "platform/Sleep.h"

namespace android {
namespace {

constexpr int kBacklog = 6;
constexpr uint64_t kSocketRetry = 100;  // seconds
constexpr uint64_t kReceiveRetry = 3;   // seconds
constexpr int kReceiveAttempts = 3;
constexpr size_t kRecordSize = kavel::kMaxRawRecord + 1;

int sConnection = -1;
pthread_t sReader;

// A raw event is read into the log line itself, so that the line needs no formatting. The buffer is
// never cleared: after a short raw event it still contains the end of a longer one. The byte after
// it is always zero, so the text also ends if a raw event fills the buffer.
constexpr size_t kLineStart = std::string_view("recv ").size();
char sLine[kLineStart + kRecordSize + 1] = "recv ";
char* const sRecord = sLine + kLineStart;

/** perror() for an error number that was saved before a log call. */
void printError(const char* what, int error) {
    errno = error;
    perror(what);
}

int awaitControlSocket() {
    int fd = -1;
    while ((fd = android_get_control_socket(kavel::kControlSocketName)) < 0) {
        KAVEL_LOGI(KAVEL_TAG_SOCKET, "Failed to get socket %d", errno);
        kavel::sleepSeconds(kSocketRetry);
    }
    // Init leaves the descriptor open across exec. Do not pass it on to child processes.
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    return fd;
}

void listenOrExit(int fd) {
    const int result = listen(fd, kBacklog);
    const int error = errno;
    KAVEL_LOGI(KAVEL_TAG_SOCKET, "Listen result %d", result);
    if (result >= 0) return;
    printError("listen", error);
    exit(-1);
}

int acceptOrExit(int fd) {
    sockaddr_un peer = {};
    socklen_t size = sizeof(peer);
    const int connection = accept4(fd, reinterpret_cast<sockaddr*>(&peer), &size, SOCK_CLOEXEC);
    const int error = errno;
    KAVEL_LOGI(KAVEL_TAG_SOCKET, "accept from fd %d", connection);
    if (connection >= 0) return connection;
    KAVEL_LOGE(KAVEL_TAG_SOCKET, "accept error %d", error);
    exit(-1);
}

}  // namespace

int kavel_socketLoop() {
    const int fd = awaitControlSocket();
    listenOrExit(fd);
    kavel::digStatus().state = kavel::SocketState::Listening;
    sConnection = acceptOrExit(fd);
    kavel::digStatus().state = kavel::SocketState::Connected;

    const int error = pthread_create(&sReader, nullptr, recvEvents, &sConnection);
    if (error == 0) {
        pthread_join(sReader, nullptr);
    } else {
        KAVEL_LOGE(KAVEL_TAG_SOCKET, "no reader thread %d", error);
    }
    close(sConnection);
    close(fd);
    digExit();
    kavel::digStatus().state = kavel::SocketState::Ended;
    return 0;
}

void* recvEvents(void* fdPointer) {
    const int fd = *static_cast<const int*>(fdPointer);
    for (int attempt = 0; attempt < kReceiveAttempts; ++attempt) {
        ssize_t received = 0;
        while ((received = recvfrom(fd, sRecord, kRecordSize, 0, nullptr, nullptr)) > 0) {
            __android_log_write(ANDROID_LOG_INFO, KAVEL_TAG_SOCKET, sLine);
            sRecord[kRecordSize - 1] = '\0';
            sendRawEvent(sRecord);
        }
        const int error = errno;
        KAVEL_LOGI(KAVEL_TAG_SOCKET, "recv error fd %d errno %d numbytes %d", fd, error,
                   static_cast<int>(received));
        printError("recv ", error);
        kavel::sleepSeconds(kReceiveRetry);
    }
    pthread_exit(nullptr);
}

}  // namespace android
