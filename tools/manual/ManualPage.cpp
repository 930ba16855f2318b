#include "tools/manual/ManualPage.h"

#include <algorithm>
#include <sstream>

namespace {

// The text in roff, with nothing in it that is an instruction; characters that roff would set as
// their typographic relatives stay what is typed.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '\\':
                result += "\\e";
                break;
            case '-':
                result += "\\-";
                break;
            case '\'':
                result += "\\(aq";
                break;
            case '`':
                result += "\\(ga";
                break;
            case '"':
                result += "\\(dq";
                break;
            case '^':
                result += "\\(ha";
                break;
            case '~':
                result += "\\(ti";
                break;
            default:
                result += c;
        }
    }
    return result.empty() || result[0] != '.' ? result : "\\&" + result;
}

std::string inCapitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), ::toupper);
    return text;
}

std::string heading(const char* macro, const std::string& title) {
    return std::string(".") + macro + " \"" + escaped(title) + "\"\n";
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + escaped(text) + "\\fR";
}

std::string title(const CommandArgument& argument) {
    std::string text;
    for (const std::string& name : argument.names) text += (text.empty() ? "" : ", ") + bold(name);
    if (argument.value.empty()) return text;
    return text + (text.empty() ? "" : " ") + italic(argument.value);
}

std::string entries(const std::vector<CommandArgument>& arguments) {
    std::string text;
    for (const CommandArgument& argument : arguments) {
        text += ".TP\n" + title(argument) + '\n' + escaped(argument.description) + '\n';
    }
    return text;
}

// A footer's lines as they are; those that end with a colon at the margin head what follows.
std::string footer(const std::string& text, bool section) {
    std::string result;
    bool open = false;
    const char* const start = section ? ".nf\n" : ".PP\n.nf\n";
    const auto block = [&](bool wanted) {
        if (open != wanted) result += wanted ? start : ".fi\n";
        open = wanted;
    };
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        if (line.back() == ':' && line[0] != ' ') {
            block(false);
            line.pop_back();
            result += section ? heading("SH", inCapitals(line)) : ".PP\n" + bold(line) + '\n';
        } else {
            block(true);
            result += escaped(line) + '\n';
        }
    }
    block(false);
    return result;
}

std::string verbSection(const std::string& program, const CommandOutline& verb) {
    const std::string name = program + ' ' + verb.name;
    return heading("SS", name) + escaped(verb.description) + ".\n.PP\n" + bold(name) + ' ' +
           italic(usageOf(verb)) + '\n' + entries(verb.operands) + entries(verb.options) +
           footer(verb.footer, false);
}

}  // namespace

std::string manualPage(const CommandOutline& program, const std::string& version) {
    std::string page = ".TH " + inCapitals(program.name) + " 1 \"\" \"" + version +
                       "\"\n.SH NAME\n" + escaped(program.name) + " \\- " +
                       escaped(program.description) + "\n.SH SYNOPSIS\n";
    for (const CommandOutline& verb : program.verbs) {
        page += (&verb == program.verbs.data() ? "" : ".br\n") +
                bold(program.name + ' ' + verb.name) + ' ' + italic(usageOf(verb)) + '\n';
    }
    page += ".SH VERBS\n";
    for (const CommandOutline& verb : program.verbs) page += verbSection(program.name, verb);
    return page + ".SH OPTIONS\n" + entries(program.options) + footer(program.footer, true);
}
