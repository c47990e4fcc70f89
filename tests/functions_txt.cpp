#include "tests/functions_txt.h"

#include <algorithm>
#include <cstdlib>
#include <regex>

namespace tests {

namespace {

constexpr char kIndent[] = "\n   ";

// The result and the lines. A range such as 1-3 stands for the first lines of the plain run.
std::string told(const Outcome& outcome, const Lines& plain) {
    std::string text = outcome.result ? std::to_string(*outcome.result) : "ends the process";
    const auto& lines = outcome.lines;
    const auto first = std::mismatch(lines.begin(), lines.end(), plain.begin(), plain.end()).first;
    if (first != lines.begin()) {
        const auto count = std::to_string(first - lines.begin());
        text += kIndent + (count == "1" ? count : "1-" + count);
    }
    for (auto line = first; line != lines.end(); ++line) {
        text += kIndent + *line;
    }
    return text + "\n";
}

}  // namespace

std::string normalized(const std::string& line, const Fixture& fixture) {
    static const std::regex kVarying("-?[0-9][0-9a-fx]*|[\n\r]"), kSourceLine("^(I <[^:]*):[^>]*");
    const std::pair<uint32_t, const char*> handles[] = {{fixture.h_pipeline, "PIPELINE"},
                                                        {fixture.hthread, "THREAD"},
                                                        {fixture.hfilter, "FILTER"},
                                                        {fixture.hthread + 1, "FILTER"}};
    std::string text, rest = line;
    for (std::smatch found; std::regex_search(rest, found, kVarying); rest = found.suffix()) {
        const std::string word = found.str();
        const uint64_t value = strtoull(word.c_str(), nullptr, 0);
        const auto handle =
            std::find_if(std::begin(handles), std::end(handles), [&](const auto& named) {
                return named.first > 1 &&
                       (named.first == value || named.first == strtoull(word.c_str(), nullptr, 16));
            });
        text += found.prefix();
        text += word == "\n"                          ? "\\n"
                : word == "\r"                        ? "\\r"
                : handle != std::end(handles)         ? handle->second
                : word[1] != 'x' || value < 16        ? word
                : value == kJavaValue || value == ~0U ? word
                                                      : "ADDRESS";
    }
    text = std::regex_replace(text + rest, kSourceLine, "$1");
    return text.substr(0, text.find(" at :"));
}

void Section::note(const std::string& what, const std::string& way, bool attached,
                   const Outcome& outcome) {
    const std::string text = told(outcome, mPlain.lines);
    Cause* const last = mCauses.empty() ? nullptr : &mCauses.back();
    if (last != nullptr && last->what == what && last->attached == attached &&
        last->outcome == text) {
        last->way += " or" + way;
    } else {
        mCauses.push_back({what, way, text, attached});
    }
}

std::string Section::text(const std::string& name) const {
    std::string text = "== " + name + ": " + std::to_string(*mPlain.result) + "\n";
    for (size_t i = 0; i < mPlain.lines.size(); ++i) {
        text += std::to_string(i + 1) + " " + mPlain.lines[i] + "\n";
    }
    std::vector<std::pair<std::string, std::string>> groups;  // outcome, and its causes
    for (const Cause& cause : mCauses) {
        const auto isOfOtherThread = [&](const Cause& other) {
            return other.what == cause.what && other.attached != cause.attached;
        };
        const bool isOnBoth = std::any_of(mCauses.begin(), mCauses.end(), [&](const Cause& other) {
            return isOfOtherThread(other) && other.way == cause.way &&
                   other.outcome == cause.outcome;
        });
        if (isOnBoth && !cause.attached) {
            continue;  // told already
        }
        auto group = std::find_if(groups.begin(), groups.end(),
                                  [&](const auto& other) { return other.first == cause.outcome; });
        if (group == groups.end()) {
            group = groups.insert(group, {cause.outcome, "--"});
        }
        const bool isAlone =
            isOnBoth || std::none_of(mCauses.begin(), mCauses.end(), isOfOtherThread);
        const std::string told = cause.what + cause.way +
                                 (isAlone          ? ","
                                  : cause.attached ? " (attached),"
                                                   : " (not attached),");
        std::string& causes = group->second;
        const bool fits =
            causes == "--" || causes.size() - (causes.rfind('\n') + 1) + told.size() < 119;
        causes += (fits ? " " : kIndent) + told;
    }
    for (auto& [outcome, causes] : groups) {
        causes.back() = ':';
        text += causes + " " + outcome;
    }
    return text + "\n";
}

}  // namespace tests
