#include "tools/trace/TraceFile.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdlib>

#include "platform/testing/TempDir.h"
#include "tools/common/InputError.h"
#include "tools/trace/LsappTable.h"
#include "tools/trace/TraceCsv.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string packed(const std::string& text) {
    std::string result(compressBound(text.size()) + 64, '\0');
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);  // gzip's frame
    std::string input = text;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

// As PowerShell redirects text.
std::string wide(const std::string& ascii) {
    std::string result = "\xFF\xFE";
    for (const char c : ascii) result += std::string{c, '\0'};
    return result;
}

const std::string CSV = "time,package\n5,a\n6,b\n7,a\n";
const std::string NAMES = "a\nb\na\n";
const std::string DUMP =
    "Currently running services:\n\nuser=0\n  events\n"
    "    time=\"1970-01-01 00:00:05\" type=ACTIVITY_RESUMED package=a class=a.A\n"
    "    time=\"1970-01-01 00:00:06\" type=ACTIVITY_RESUMED package=b class=b.B\n"
    "    time=\"1970-01-01 00:00:07\" type=ACTIVITY_RESUMED package=a class=a.A\n";
const std::string TABLE = std::string(LSAPP_HEADER) +
                          "\n4\t1\t1970-01-01 00:00:05\ta\tOpened\n"
                          "4\t1\t1970-01-01 00:00:05\ta\tClosed\n"
                          "4\t1\t1970-01-01 00:00:06\tb\tOpened\n"
                          "4\t2\t1970-01-01 00:00:06\tb\tUser Interaction\n"
                          "4\t2\t1970-01-01 00:00:07\ta\tOpened\n";

class TraceKinds : public ::testing::Test {
  protected:
    TraceKinds() { setenv("TZ", "UTC0", 1); }
    ~TraceKinds() override { unsetenv("TZ"); }

    TraceFile read(const std::string& name, const std::string& content) {
        mFiles.write(name, content);
        return TraceFile::read(mFiles.file(name), mOptions);
    }

    // The names that were opened, or what is wrong behind the path.
    std::string opened(const std::string& name, const std::string& content) {
        try {
            const TraceFile file = read(name, content);
            std::string all = file.format + ":";
            for (const NamedTrace& named : file.traces) {
                for (size_t i = 0; i < named.trace.size(); ++i) all += " " + named.trace.name(i);
            }
            return all;
        } catch (const InputError& error) {
            return std::string(error.what()).substr(mFiles.file(name).size());
        }
    }

    const TempDir mFiles;
    TraceOptions mOptions;
};

TEST_F(TraceKinds, AreToldByTheContent) {
    const struct {
        const char* name;
        std::string content;
        const char* opened;
    } cases[] = {
        {"t.csv", CSV, "CSV: a b a"},
        {"t.txt", CSV, "CSV: a b a"},
        {"t", CSV, "CSV: a b a"},
        {"t.txt", NAMES, "names: a b a"},
        {"t.txt", DUMP, "usagestats: a b a"},
        {"t.csv", DUMP, "usagestats: a b a"},
        {"dump", DUMP, "usagestats: a b a"},
        {"t.csv", TABLE, "LSApp: a b a"},
        {"t.tsv", TABLE, "LSApp: a b a"},
    };
    for (const auto& [name, content, names] : cases) {
        EXPECT_EQ(opened(name, content), names);
        const std::string archive = std::string(name) + ".gz";
        EXPECT_EQ(opened(archive, packed(content)), names) << archive;
        EXPECT_EQ(opened(name, wide(content)), names);
    }
}

TEST_F(TraceKinds, Utf16BecomesUtf8) {
    // A letter of two bytes, one of three, a pair, and both halves of pairs alone.
    const std::string text("\x00\xE9\x20\xAC\xD8\x3D\xDE\x00\x00-\xD8\x3D\x00-\xDE\x00\x00\n", 18);
    std::string swapped;
    for (size_t i = 0; i < text.size(); i += 2) swapped += {text[i + 1], text[i]};
    const std::string expected = "names: \u00e9\u20ac\U0001f600-\ufffd-\ufffd";
    EXPECT_EQ(opened("t.txt", "\xFE\xFF" + text), expected);
    EXPECT_EQ(opened("t.txt", "\xFF\xFE" + swapped), expected);
    EXPECT_EQ(opened("t.txt", "\xFF\xFE" + swapped.substr(0, 17)), expected);
}

TEST_F(TraceKinds, SaysWhatIsWrong) {
    const std::string row =
        std::string(LSAPP_HEADER) + "\n4\t1\t2026-03-01 08:00:00\ta b\tOpened\n";
    const struct {
        const char* name;
        std::string content;
        const char* message;
    } cases[] = {
        {"t.dat", "hello\n", ": is neither a .csv nor a .txt file, and holds no dump"},
        {"t.dat", "", ": the file is empty"},
        {"t.txt", "error: no devices/emulators found\n", "a complaint of the debug bridge"},
        {"t.gz", packed(DUMP).substr(0, 60), "the compressed file is cut short"},
        {"t.txt", "user=0\n  In-memory daily stats\n", ":2: the file holds no opening"},
        {"t.tsv", row + "x\t1\t2026-03-01 08:00:00\ta\tOpened\n", ":3: \"x\" is no user_id"},
        {"t.tsv", row + "4\t1\tnoon\ta\tOpened\n", ":3: \"noon\" is no time"},
        {"t.tsv", row + "4\t1\tOpened\n", ":3: the row has not five fields"},
        {"t.tsv", row + "4\t1\t2026-03-01 08:00:00\t\tOpened\n", ":3: the row has no app_name"},
        {"t.tsv", row + "5\t1\t2026-03-01 08:00:00\ta+b\tOpened\n",
         ":3: \"a+b\" and \"a b\" both become \"a_b\""},
    };
    for (const auto& [name, content, message] : cases) {
        EXPECT_THAT(opened(name, content), HasSubstr(message));
    }
}

TEST_F(TraceKinds, SkipsBadLinesWhenAskedTo) {
    mOptions.skipBad = true;
    const std::string longLine(70000, 'x');
    const struct {
        const char* name;
        std::string content;
    } cases[] = {
        {"t.csv", "time,package\n5,a\nnoon,c\n4,c\n6,b\n\n6,a\n"},
        {"t.txt", "a\n" + longLine + "\nb\n" + longLine + "\n" + longLine + "\na\n"},
        {"t.tsv", TABLE + "4\nx\t1\t2\tc\tOpened\n4\t1\tnoon\tc\tOpened\n"},
    };
    for (const auto& [name, content] : cases) {
        EXPECT_THAT(opened(name, content), HasSubstr(": a b a")) << name;
        EXPECT_EQ(read(name, content).skipped, 3U) << name;
    }
}

TEST_F(TraceKinds, NamesThatTheModelDoesNotTakeAreCountedOrMapped) {
    const char* const names = "a\ng++\na\nb c\nb c\na\na\na\ng++\n";
    EXPECT_EQ(opened("t.txt", names), "names: a g++ a b c b c a a a g++");
    EXPECT_THAT(
        read("t.txt", names).notes,
        ElementsAre(AllOf(HasSubstr("2 names have characters"),
                          HasSubstr("never predicts their 4 openings"),
                          HasSubstr("before the next two behind each, 5 openings in all"))));
    EXPECT_THAT(read("t.txt", "a\nb_\nC.9\n").notes, ElementsAre());

    mOptions.underscores = true;
    EXPECT_EQ(opened("t.txt", names), "names: a g__ a b_c b_c a a a g__");
    EXPECT_THAT(read("t.txt", names).notes, ElementsAre());
    EXPECT_EQ(opened("t.csv", CSV + "7,caf\xC3\xA9 1\n"), "CSV: a b a caf__1");
    EXPECT_EQ(opened("t.dump", DUMP + "    time=\"1970-01-01 00:00:09\" type=1 package=x-y\n"),
              "usagestats: a b a x_y");
    EXPECT_EQ(opened("t.csv", CSV + "7,b c\n7,b c\n8,b-c\n"),
              ":7: \"b-c\" and \"b c\" both become \"b_c\"");
    mOptions.drop = {"b c"};
    EXPECT_EQ(opened("t.csv", CSV + "7,b c\n8,b-c\n"), "CSV: a b a b_c");
}

TEST_F(TraceKinds, LsappGivesATraceForEachUserInOrderOfTime) {
    const std::string table = std::string(LSAPP_HEADER) +
                              "\n7\t1\t2018-01-16 06:00:00\tGoogle Chrome\tOpened\n"
                              "7\t2\t2018-01-16 06:00:02\tMessages\tOpened\n"
                              "12\t1\t2018-01-16 06:00:00\tGoogle Chrome\tOpened\n"
                              "7\t1\t2018-01-16 06:00:01\tLa R\xC3\xA9sidence, 2.0\tOpened\n";
    const TraceFile file = read("t.tsv", table);
    ASSERT_EQ(file.traces.size(), 2U);
    EXPECT_EQ(file.traces[0].name, mFiles.file("t.tsv") + "#7");
    EXPECT_EQ(file.traces[1].name, mFiles.file("t.tsv") + "#12");
    EXPECT_EQ(opened("t.tsv", table),
              "LSApp: Google_Chrome La_R_sidence__2.0 Messages Google_Chrome");
    EXPECT_THAT(file.notes, ElementsAre(HasSubstr("1 row lies before the one above")));
    mOptions.user = 12;
    EXPECT_EQ(opened("t.tsv", table), "LSApp: Google_Chrome");
    mOptions.user = 8;
    EXPECT_THAT(opened("t.tsv", table), HasSubstr("has no user 8, only 7, 12"));
    EXPECT_THAT(opened("t.csv", CSV), HasSubstr("--user: a CSV file has no users"));
}

TEST_F(TraceKinds, CsvKeepsTimesAndNames) {
    Trace trace;
    const char* const names[] = {"com.a", "a,b", "say \"x\"", "\"", " two words "};
    for (int i = 0; i < 5; ++i) trace.add(TraceTime(1772374930000000 + i * 250), names[i]);
    std::string csv;
    writeCsv(trace, [&](const std::string& piece) { csv += piece; });
    EXPECT_THAT(csv, HasSubstr("\n2026-03-01T14:22:10.00025Z,\"a,b\"\n"));
    const TraceFile file = read("t.csv", csv);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(file.traces[0].trace.name(i), names[i]);
        EXPECT_EQ(file.traces[0].trace.time(i), trace.time(i));
    }
}

}  // namespace
