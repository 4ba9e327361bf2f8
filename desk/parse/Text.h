#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kaveldesk {

// Small steps of the parsers. None of them throws; only shorten() allocates.

/** Goes through the lines of a text. A line has neither its line feed nor a carriage return. */
class Lines {
  public:
    explicit Lines(std::string_view text) : mRest(text) {}

    /** Puts the next line into @p line. Returns false after the last one. */
    bool next(std::string_view& line);
    /** Number of the line that next() gave last, from 1. */
    uint32_t number() const { return mNumber; }

  private:
    std::string_view mRest;
    uint32_t mNumber = 0;
};

bool startsWith(std::string_view text, std::string_view prefix);
bool endsWith(std::string_view text, std::string_view suffix);
inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}
// Of ASCII, whatever the locale is.
inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
inline bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
/** A letter, a digit or "_", as in an identifier. */
inline bool isWord(char c) {
    return isDigit(c) || isLetter(c) || c == '_';
}

/** @p text without blanks and tabs at its ends. */
std::string_view trim(std::string_view text);

/** What follows the first @p mark in @p text. */
std::optional<std::string_view> after(std::string_view text, std::string_view mark);

/** @p text up to the first character of @p ends, or all of it. */
std::string_view until(std::string_view text, std::string_view ends);

/** What follows the last character of @p separators in @p text, or all of it. */
std::string_view lastPart(std::string_view text, std::string_view separators);

/** What is between the first @p open and the next @p close; empty if one of them is not there. */
std::string_view between(std::string_view text, std::string_view open, std::string_view close);

/** Takes the blank-separated word at the front of @p text; empty at its end. */
std::string_view takeWord(std::string_view& text);

/** Takes the integer at the front of @p text. One that is too large for the type is no integer. */
template <typename Integer>
std::optional<Integer> takeInteger(std::string_view& text);

/** Takes a decimal number such as "0.8" at the front of @p text. */
std::optional<double> takeDecimal(std::string_view& text);

/** Cuts @p text after @p longest bytes, at a whole character of UTF-8; "..." says so. */
void shorten(std::string& text, size_t longest);

/** The integer after the first @p mark in @p text, for example of "sysTid=". */
std::optional<int32_t> numberAfter(std::string_view text, std::string_view mark);

}  // namespace kaveldesk
