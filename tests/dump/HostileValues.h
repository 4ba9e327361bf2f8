#pragma once

#include <string>
#include <vector>

#include <android-base/strings.h>

namespace android::kavel::test {

/**
 * Texts that a careless command would run, expand or split. Each tries to leave a file CANARY in
 * the working directory. None holds a "/", so that each can name a folder too.
 */
inline const std::vector<std::string> kHostileValues = base::Split(
        R"(a;touch CANARY;b@$(touch CANARY)@`touch CANARY`@a&&touch CANARY||touch CANARY&@)"
        R"(a|touch CANARY #@x>CANARY@'; >CANARY; '@"; >CANARY; "@\'; >CANARY; \'@*@?[a-z]*@~@-rf@-n@)"
        R"($HOME ${PATH} $((1+1)) $'\n'@{a,b} {1..3}@a\nb\c\\d\0101\@ two  blanks @#!@)"
        "x\n>CANARY\ntouch CANARY\n@\xE5\xBA\x94\xE7\x94\xA8\xEF\xBC\x8C\xFF@",
        "@");

}  // namespace android::kavel::test
