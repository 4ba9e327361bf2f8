#pragma once

#include <binder/IBinder.h>
#include <utils/String16.h>

#include <cstdint>

/** What the test server's object understands. */
namespace kavel_test {

inline constexpr char kDescriptor[] = "kavel.test.Service";

enum Code : uint32_t {
    ECHO = android::IBinder::FIRST_CALL_TRANSACTION,  ///< replies what follows the token
    PASS_GATE,                                        ///< returns when the gate is open
    RECORD,                                           ///< keeps sender and number, two int32
    RECORDS,  ///< replies the count, and each sender and number
    DIE,      ///< ends the process in the middle of the call
    GROW,     ///< replies as many bytes as asked for
};

/** Orders on the server's standard input; each is answered with an int32. */
enum Order : char {
    CLOSE_GATE = 'c',
    OPEN_GATE = 'o',
    AT_GATE = 'n',  ///< answers how many calls wait at the gate
};

}  // namespace kavel_test
