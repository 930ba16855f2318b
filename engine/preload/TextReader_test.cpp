#include "preload/TextReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

namespace {

// Text in which numbers and words begin, end and break off.
std::string randomText(std::mt19937& random) {
    const std::string alphabet = "0123456789999--++ \n\t\v:a";
    std::string text(random() % 40, ' ');
    for (char& c : text) c = alphabet[random() % alphabet.size()];
    return text;
}

TEST(TextReader, readsAsTheCLibraryDoes) {
    std::mt19937 random(3);
    for (int round = 0; round < 20000; ++round) {
        std::string text = randomText(random);
        if (text.empty()) continue;
        FILE* const file = fmemopen(text.data(), text.size(), "r");
        TextReader reader(text);
        for (int step = 0; step < 12; ++step) {
            if (random() % 2 == 0) {
                int expected = 7;
                int number = 7;
                const int items = fscanf(file, "%d", &expected);
                const TextReader::Result result = reader.readInt(number);
                ASSERT_EQ(result == TextReader::READ, items == 1) << text;
                ASSERT_EQ(result == TextReader::END, items == EOF) << text;
                ASSERT_EQ(number, expected) << text;
            } else {
                char expected[8] = "before";
                std::string word = "before";
                const int items = fscanf(file, "%7s", expected);
                ASSERT_EQ(reader.readWord(word, 7) == TextReader::READ, items == 1) << text;
                ASSERT_EQ(word, expected) << text;
            }
            ASSERT_EQ(reader.position(), static_cast<size_t>(ftell(file))) << text;
        }
        fclose(file);
    }
}

}  // namespace
