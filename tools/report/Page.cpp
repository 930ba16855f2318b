#include "tools/report/Page.h"

#include <stdexcept>
#include <string_view>

// Taken in as it is by the assembler.
__asm__(
    ".section .rodata.ksbrainReportPage, \"a\"\n"
    ".globl ksbrainReportPage, ksbrainReportPageEnd\n"
    ".hidden ksbrainReportPage, ksbrainReportPageEnd\n"
    "ksbrainReportPage: .incbin \"" KSBRAIN_REPORT_PAGE
    "\"\n"
    "ksbrainReportPageEnd:\n"
    ".previous\n");

extern "C" {
extern const char ksbrainReportPage[];
extern const char ksbrainReportPageEnd[];
}

namespace {

constexpr std::string_view PLACE = "<!--DATA-->";

// JSON that no HTML parser sees an end of the script or a comment in, whatever the names in it.
std::string scriptJson(const std::string& data) {
    std::string result;
    for (const char c : data) {
        if (c == '<') {
            result += "\\u003c";
        } else {
            result += c;
        }
    }
    return result;
}

}  // namespace

std::string makePage(const std::string& data) {
    std::string page(ksbrainReportPage, ksbrainReportPageEnd);
    const size_t place = page.find(PLACE);
    if (place == std::string::npos)
        throw std::logic_error("the report's page has no place for data");
    return page.replace(place, PLACE.size(), scriptJson(data));
}
