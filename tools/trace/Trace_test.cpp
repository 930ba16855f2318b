#include "tools/trace/Trace.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class TraceFile : public ::testing::Test {
  protected:
    Trace read(const std::string& name, const std::string& content) {
        mDirectory.write(name, content);
        return Trace::read(mDirectory.file(name));
    }

    // What Trace::read() says behind the path.
    std::string refusal(const std::string& name, const std::string& content) {
        try {
            read(name, content);
        } catch (const InputError& error) {
            const std::string message = error.what();
            EXPECT_EQ(message.find(mDirectory.file(name)), 0U) << message;
            EXPECT_THAT(message, Not(HasSubstr("\n")));
            return message.substr(mDirectory.file(name).size());
        }
        return "accepted";
    }

    const TempDir mDirectory;
};

TEST_F(TraceFile, CsvNamesStandAsTheyAreUnlessQuoted) {
    const struct {
        const char* row;
        const char* name;
    } cases[] = {
        {"7,com.a", "com.a"}, {"7, two words ", " two words "},     {"7,a,b,\"c\"", "a,b,\"c\""},
        {"7,\"a,b\"", "a,b"}, {"7,\"say \"\"x\"\"\"", "say \"x\""}, {"\"7\",com.a", "com.a"},
    };
    for (const auto& [row, name] : cases) {
        const Trace trace = read("t.csv", std::string("time,package\n") + row + "\n");
        EXPECT_EQ(trace.name(0), name) << row;
        EXPECT_EQ(trace.time(0), std::chrono::seconds(7)) << row;
    }
}

TEST_F(TraceFile, TakesCarriageReturnsAByteOrderMarkAndBlankLinesAtTheEnd) {
    const Trace trace =
        read("T.CSV", "\xEF\xBB\xBFtime,package\r\n5,com.b\r\n5,com.a\r\n6.5,com.b\r\n\r\n\n");
    ASSERT_EQ(trace.size(), 3U);
    EXPECT_EQ(trace.time(2), std::chrono::milliseconds(6500));
    EXPECT_EQ(trace.name(2), "com.b");
    EXPECT_THAT(trace.names(), ElementsAre("com.b", "com.a"));
}

TEST_F(TraceFile, TextNamesLieAMinuteApart) {
    const Trace trace = read("t.txt", "\n./run \r\n\n \t\nls\ntime,package");
    ASSERT_EQ(trace.size(), 3U);
    EXPECT_EQ(trace.name(0), "./run ");
    EXPECT_EQ(trace.name(2), "time,package");
    EXPECT_EQ(trace.time(0), std::chrono::seconds(1704067200));
    EXPECT_EQ(trace.time(2), std::chrono::seconds(1704067320));
}

TEST_F(TraceFile, SaysWhatIsWrongAndWhere) {
    const std::string longLine(70000, 'x');
    const struct {
        std::string name;
        std::string content;
        const char* message;
    } cases[] = {
        {"t.csv", "", ": the file is empty"},
        {"t.csv", "time,package\n", ":1: the file holds no opening"},
        {"t.txt", "\n\n", ":2: the file holds no opening"},
        {"t.csv", "package,time\n1,a\n", ":1: the header is \"package,time\""},
        {"t.csv", "1,a\n", ":1: the header is"},
        {"t.csv", "time,package\n1,a\n2,\n", ":3: the row has no name"},
        {"t.csv", "time,package\n1,\"\"\n", ":2: the row has no name"},
        {"t.csv", "time,package\n1,a\n2\n", ":3: no comma and name follow \"2\""},
        {"t.csv", "time,package\nnoon,a\n", ":2: \"noon\" is no time"},
        {"t.csv", "time,package\n1,a\n18446744073710,a\n", ":3: \"18446744073710\" lies outside"},
        {"t.csv", "time,package\n9,a\n8,b\n", ":3: the time runs backwards, by 1 s"},
        {"t.csv", "time,package\n1,a\n\n2,b\n", ":3: a blank line stands among the rows"},
        {"t.csv", "time,package\n1,\"a\n2,b\n", ":2: the quote is not closed"},
        {"t.csv", "time,package\n1,\"a\"b\n", ":2: text follows the closing quote"},
        {"t.csv", std::string("time,package\n1,a\0b\n", 18), ":2: the line holds a NUL byte"},
        {"t.txt", "a\n" + longLine + "\nb\n", ":2: the line is longer than 65,536 bytes"},
        {"t.dat", "a\n", ": is neither a .csv nor a .txt file"},
    };
    for (const auto& [name, content, message] : cases) {
        EXPECT_THAT(refusal(name, content), HasSubstr(message)) << content.substr(0, 80);
    }
    EXPECT_THROW(Trace::read(mDirectory.file("missing.csv")), InputError);
    mkdir(mDirectory.file("d.txt").c_str(), 0700);
    EXPECT_THROW(Trace::read(mDirectory.file("d.txt")), InputError);
}

// Of such openings neither the hour nor the day says anything about anybody.
TEST_F(TraceFile, KnowsInventedTimes) {
    const auto csv = [](size_t rows, size_t every) {  // each so many rows the step is longer
        std::string content = "time,package\n";
        size_t time = 0;
        for (size_t row = 0; row < rows; ++row) {
            content += std::to_string(time += row % every == 0 ? 120 : 60) + ",a\n";
        }
        return content;
    };
    EXPECT_TRUE(read("t.txt", "a\nb\n").hasInventedTimes());
    EXPECT_TRUE(read("t.csv", csv(40, 20)).hasInventedTimes()) << "some names were dropped";
    EXPECT_FALSE(read("t.csv", csv(40, 5)).hasInventedTimes());
    EXPECT_FALSE(read("t.csv", csv(19, 20)).hasInventedTimes()) << "too few to tell";
}

}  // namespace
