#pragma once

#include <android/log.h>

namespace android::kavel::fake {

/** Arguments of a log function. */
struct PassingLine {
    int priority;
    const char* tag;  ///< null if there is none
    const char* text;
};

/**
 * Adapts @p Keep to __android_log_set_logger(), whose argument differs between releases of liblog.
 */
template <void (*Keep)(const PassingLine&)>
struct LogFunction {
    template <class Message>
    static void log(const Message* message) {
        Keep({message->priority, message->tag, message->message});
    }
    template <class Data>
    static void log(const Data* data, const char* text) {
        Keep({data->priority, data->tag, text});
    }
};

}  // namespace android::kavel::fake
