#include "desk/mask/LineFeed.h"

#include <fmt/core.h>

namespace kaveldesk {

void LineFeed::add(std::string_view block) {
    while (!block.empty()) {
        // While a line is cut off only its end matters; otherwise all whole lines go at once.
        const size_t newline = mLeftOut > 0 ? block.find('\n') : block.rfind('\n');
        if (newline == std::string_view::npos) {
            if (mLeftOut > 0) {
                mLeftOut += block.size();
                return;
            }
            mRest += block;
            if (mRest.size() > kMaxLine) cutOff();
            return;
        }
        if (mLeftOut > 0) {
            mLeftOut += newline;
            end();
            block.remove_prefix(newline);  // the newline ends the note
            continue;
        }
        if (mRest.empty()) {
            mPiece(block.substr(0, newline + 1));
        } else {
            mRest += block.substr(0, newline + 1);
            mPiece(mRest);
            mRest.clear();
        }
        block.remove_prefix(newline + 1);
    }
}

// A cut in the middle of a value would hide what it is, so the cut is at a blank.
void LineFeed::cutOff() {
    const size_t blank = mRest.find_last_of(" \t");
    const size_t kept = blank == std::string::npos ? 0 : blank + 1;
    mLeftOut = mRest.size() - kept;
    mRest.resize(kept);
    mPiece(mRest);
    mRest.clear();
}

void LineFeed::end() {
    if (mLeftOut > 0) {
        mPiece(fmt::format("[{} bytes of a long line left out]", mLeftOut));
        mAllLeftOut += mLeftOut;
        mLeftOut = 0;
    }
    if (!mRest.empty()) mPiece(mRest);
    mRest.clear();
}

}  // namespace kaveldesk
