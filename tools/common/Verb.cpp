#include "tools/common/Verb.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#include "tools/common/InputError.h"
#include "tools/common/Text.h"

Argument& Argument::required() {
    isRequired = true;
    return *this;
}

Argument& Argument::needs(const std::string& option) {
    needed.push_back(option);
    return *this;
}

Argument& Argument::excludes(const std::string& option) {
    excluded.push_back(option);
    return *this;
}

Argument& Verb::flag(const std::string& title, bool& given, const std::string& about) {
    return custom(title, about, [&given](const std::string&) { given = true; });
}

Argument& Verb::texts(const std::string& title, std::vector<std::string>& to,
                      const std::string& about) {
    Argument& argument =
        custom(title, about, [&to](const std::string& given) { to.push_back(given); });
    argument.isRepeated = true;
    return argument;
}

Argument& Verb::custom(const std::string& title, const std::string& about,
                       std::function<void(const std::string&)> take) {
    Argument argument;
    argument.value = title;
    if (title[0] == '-') {
        const size_t end = std::min(title.find(' '), title.size());
        std::istringstream names(title.substr(0, end));
        for (std::string each; std::getline(names, each, ',');) argument.names.push_back(each);
        argument.value = title.substr(std::min(end + 1, title.size()));
    }
    argument.description = about;
    argument.take = std::move(take);
    arguments.push_back(argument);
    return arguments.back();
}

uint64_t Verb::wholeNumber(const std::string& text, uint64_t least, uint64_t most) {
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc() && rest == end && number >= least && number <= most) return number;
    throw InputError(inQuotes(text) + " is no whole number from " + std::to_string(least) + " to " +
                     std::to_string(most));
}
