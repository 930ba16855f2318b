#include "tools/trace/CsvField.h"

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

namespace {

// What stands between the quotes; the row is left behind the closing one.
std::string takeQuoted(std::string_view& row) {
    const std::string_view whole = row;
    row.remove_prefix(1);
    std::string field;
    for (;;) {
        const size_t quote = row.find('"');
        if (quote == std::string_view::npos) {
            throw InputError("the quote is not closed: " + inQuotes(whole));
        }
        field += row.substr(0, quote);
        row.remove_prefix(quote + 1);
        if (row.empty() || row[0] != '"') return field;
        field += '"';
        row.remove_prefix(1);
    }
}

}  // namespace

std::string takeCsvField(std::string_view& row, bool last) {
    std::string field;
    if (!row.empty() && row[0] == '"') {
        field = takeQuoted(row);
        if (!row.empty() && (last || row[0] != ',')) {
            throw InputError("text follows the closing quote: " + inQuotes(row));
        }
    } else {
        const size_t end = last ? row.size() : row.find(',');
        field = row.substr(0, end);
        row.remove_prefix(end == std::string_view::npos ? row.size() : end);
    }
    if (last) return field;
    if (row.empty()) throw InputError("no comma and name follow " + inQuotes(field));
    row.remove_prefix(1);
    return field;
}
