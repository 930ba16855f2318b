#pragma once

#include <cstddef>
#include <string>

// Reads numbers and words off a text as fscanf() does from a file: white space before them is
// skipped, and what does not fit is left standing.
class TextReader {
  public:
    // `text` must outlive the reader.
    explicit TextReader(const std::string& text) : mText(text) {}

    enum Result {
        READ,
        UNFIT,  // no number stands there
        END,    // the text was at its end
    };

    // As "%d": a number beyond an int is cut to its lowest bits.
    Result readInt(int& number);

    // As "%s" with a width.
    Result readWord(std::string& word, size_t width = std::string::npos);

    void skipSpace();
    size_t position() const { return mPosition; }

  private:
    const std::string& mText;
    size_t mPosition = 0;
};
