#pragma once

#include <android/log.h>

namespace android::kavel::fake {

/** A line on its way to the log. */
struct PassingLine {
    int priority;
    const char* tag;  ///< null where there is none
    const char* text;
};

/** What __android_log_set_logger() takes, for @p Keep: its form differs between releases of liblog.
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
