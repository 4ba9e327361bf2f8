#pragma once

#include <android/log.h>

/** Tag for start-up, binder, event building and the commercial catchers. */
#define KAVEL_TAG_BINDER "KavelBinder"

/** Most lines have no tag, so liblog uses the program's name. */
#define KAVEL_NO_TAG nullptr

#define KAVEL_LOGD(tag, ...) __android_log_print(ANDROID_LOG_DEBUG, tag, __VA_ARGS__)
#define KAVEL_LOGI(tag, ...) __android_log_print(ANDROID_LOG_INFO, tag, __VA_ARGS__)
#define KAVEL_LOGW(tag, ...) __android_log_print(ANDROID_LOG_WARN, tag, __VA_ARGS__)
#define KAVEL_LOGE(tag, ...) __android_log_print(ANDROID_LOG_ERROR, tag, __VA_ARGS__)
