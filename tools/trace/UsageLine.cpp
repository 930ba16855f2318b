#include "tools/trace/UsageLine.h"

#include <algorithm>

#include "tools/common/Text.h"

namespace {

constexpr std::string_view OPENINGS[] = {"MOVE_TO_FOREGROUND", "ACTIVITY_RESUMED", "1"};

// How headings begin, and words of others.
constexpr std::string_view HEADINGS[] = {"timeRange",     "packages",        "configurations",
                                         "ChooserCounts", "DUMP OF SERVICE", "Last 24 hour events"};
constexpr std::string_view HEADING_WORDS[] = {" stats", " events", "daily",   "Daily",  "weekly",
                                              "Weekly", "monthly", "Monthly", "yearly", "Yearly"};

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isWord(char c) {
    return c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool holds(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

struct Field {
    std::string_view name;
    std::string_view value;
    bool closed;  // the value does not stop for the line's end
};

// The length of "name=" at the front, 0 without.
size_t nameLength(std::string_view text) {
    size_t length = 0;
    while (length < text.size() && isWord(text[length])) ++length;
    return length > 0 && length < text.size() && text[length] == '=' ? length + 1 : 0;
}

// Takes the next field off the text; what stands before it makes the line untidy.
std::optional<Field> takeField(std::string_view& text, bool& tidy) {
    size_t length = 0;
    for (;;) {
        while (!text.empty() && (isBlank(text[0]) || text[0] == ',')) text.remove_prefix(1);
        if (text.empty()) return std::nullopt;
        length = nameLength(text);
        if (length > 0) break;
        tidy = false;
        while (!text.empty() && !isBlank(text[0])) text.remove_prefix(1);
    }
    Field field{text.substr(0, length - 1), {}, false};
    text.remove_prefix(length);
    if (!text.empty() && text[0] == '"') {
        text.remove_prefix(1);
        const size_t end = text.find('"');
        field.value = text.substr(0, end);
        field.closed = end != std::string_view::npos;
        text.remove_prefix(field.closed ? end + 1 : text.size());
        return field;
    }
    // A time without quotes holds blanks: a value goes on to the next name.
    size_t end = 0;
    while (end < text.size() && !(isBlank(text[end]) && nameLength(text.substr(end + 1)) > 0)) {
        if (isBlank(text[end]) && field.name != "time") break;
        ++end;
    }
    field.value = text.substr(0, end);
    field.closed = end < text.size();
    text.remove_prefix(end);
    while (!field.value.empty() && (field.value.back() == ',' || isBlank(field.value.back()))) {
        field.value.remove_suffix(1);
        field.closed = true;
    }
    return field;
}

bool isOpening(std::string_view type) {
    return std::find(std::begin(OPENINGS), std::end(OPENINGS), type) != std::end(OPENINGS);
}

// Whether a type that the line's end may have cut may have been an opening's.
bool mayBeOpening(std::string_view type) {
    return std::any_of(std::begin(OPENINGS), std::end(OPENINGS),
                       [&](std::string_view opening) { return startsWith(opening, type); });
}

}  // namespace

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

UsageLine parseUsageLine(std::string_view line) {
    UsageLine result;
    bool typeKnown = false;
    while (const std::optional<Field> field = takeField(line, result.tidy)) {
        if (holds(field->value, "=") || (field->name != "time" && holds(field->value, "\""))) {
            result.tidy = false;
        }
        if (!result.package.empty()) result.goesOn = true;
        if (field->name == "time" && result.time.empty()) {
            result.time = field->value;
            result.timeClosed = field->closed;
        } else if (field->name == "type" && result.type.empty()) {
            result.type = field->value;
            typeKnown = field->closed;
        } else if (field->name == "package" && result.package.empty()) {
            result.package = field->value;
        }
    }
    if (result.type.empty()) return result;
    if (typeKnown || !mayBeOpening(result.type)) {
        result.kind = isOpening(result.type) ? UsageLine::Kind::OPENING : UsageLine::Kind::OTHER;
    }
    if (result.kind == UsageLine::Kind::OPENING && result.package.empty()) {
        result.kind = UsageLine::Kind::CUT;
    }
    return result;
}

bool isUsageEvent(std::string_view line) {
    const std::string_view text = trimmed(line);
    return startsWith(text, "time=") && (text.size() == 5 || text[5] == '"' || isDigit(text[5]));
}

bool isUsageHeading(std::string_view line) {
    const std::string_view text = trimmed(line);
    if (usageUser(text) || isUsageDump(text)) return true;
    if (startsWith(text, "package=") || startsWith(text, "config=")) return true;
    if (std::any_of(std::begin(HEADINGS), std::end(HEADINGS),
                    [&](std::string_view heading) { return startsWith(text, heading); })) {
        return true;
    }
    if (text == "events") return true;
    return !holds(text, "=") &&
           std::any_of(std::begin(HEADING_WORDS), std::end(HEADING_WORDS),
                       [&](std::string_view word) { return holds(text, word); });
}

bool isUsageDump(std::string_view line) {
    const std::string_view text = trimmed(line);
    if (isUsageEvent(text)) return text[5 % text.size()] == '"' || holds(text, " type=");
    return startsWith(text, "In-memory ") || startsWith(text, "Last 24 hour events") ||
           startsWith(text, "DUMP OF SERVICE usagestats") || usageUser(text).has_value();
}

std::optional<int> usageUser(std::string_view line) {
    std::string_view text = trimmed(line);
    if (!startsWith(text, "user=")) return std::nullopt;
    text.remove_prefix(5);
    int user = 0;
    size_t digits = 0;
    while (digits < text.size() && digits < 9 && isDigit(text[digits])) {
        user = user * 10 + (text[digits++] - '0');
    }
    const std::string_view rest = trimmed(text.substr(digits));
    if (digits == 0 || !(rest.empty() || rest == "{" || rest == ":")) return std::nullopt;
    return user;
}
