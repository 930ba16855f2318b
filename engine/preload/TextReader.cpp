#include "preload/TextReader.h"

#include <algorithm>
#include <cstdint>

namespace {

// Independent of the locale, unlike isspace() and isdigit().
bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

}  // namespace

void TextReader::skipSpace() {
    while (mPosition < mText.size() && isSpace(mText[mPosition])) ++mPosition;
}

TextReader::Result TextReader::readInt(int& number) {
    skipSpace();
    if (mPosition == mText.size()) return END;
    const bool negative = mText[mPosition] == '-';
    if (negative || mText[mPosition] == '+') ++mPosition;  // taken even when no digit follows
    const uint64_t limit = static_cast<uint64_t>(INT64_MAX) + (negative ? 1 : 0);
    const size_t begin = mPosition;
    uint64_t value = 0;
    for (; mPosition < mText.size() && isDigit(mText[mPosition]); ++mPosition) {
        const auto digit = static_cast<uint64_t>(mText[mPosition] - '0');
        value = value > (limit - digit) / 10 ? limit : 10 * value + digit;
    }
    if (mPosition == begin) return UNFIT;
    number = static_cast<int>(static_cast<uint32_t>(negative ? 0 - value : value));
    return READ;
}

TextReader::Result TextReader::readWord(std::string& word, size_t width) {
    skipSpace();
    if (mPosition == mText.size()) return END;
    const size_t begin = mPosition;
    const size_t end = mText.size() - begin > width ? begin + width : mText.size();
    while (mPosition < end && !isSpace(mText[mPosition])) ++mPosition;
    word.assign(mText, begin, mPosition - begin);
    return READ;
}
