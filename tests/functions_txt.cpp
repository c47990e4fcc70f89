#include "tests/functions_txt.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace tests {

namespace {

constexpr char kHead[] =
    R"(// What each function and native does, and which cause makes which line of the log.
//
// == NAME: RESULT   One call with nothing failing. Its numbered lines are the log, the calls of Java, as
//                   Class.method(arguments), and the callbacks of the middleware. 57 is what Java returns.
// TEXT              A line that appears when something fails.
//     CAUSES: ...   The causes of the lines above, and what else comes of each: another result, or which of the
//                   numbered lines are missing. A line that shows the result is not missing when it shows another.
// -- NAMES          Functions, without x_native_frontend_ or x_velmora_filter_, of which all that follows is true.
//
// A call that is named alone does the same however it fails. A cause that is not named changes nothing. F is
// a fatal assertion, which ends the process. "no environment": the virtual machine is not there yet, or gives
// the thread none. "no Java object": the tuner's could not be made. "not its handle": it is closed, or of
// something else. "handle not found": the same, or the handle service fails. "no Java": no environment, no Java object.

)";

// Causes that have one name when all of them do the same.
const std::vector<std::pair<const char*, Names>> kNamed = {
    {"no environment",
     {"AttachCurrentThread fails", "AttachCurrentThread gives nothing", "GetEnv gives nothing",
      "no virtual machine"}},
    {"no environment #2",
     {"AttachCurrentThread #2 fails", "AttachCurrentThread #2 gives nothing",
      "GetEnv #2 gives nothing"}},
    {"handle not found",
     {"closed handle", "handle of something else", "handle_get_type_obj fails",
      "handle_get_type_obj gives nothing"}},
    {"not its handle", {"closed handle", "handle of something else"}},
    {"no Java", {"no Java object", "no environment"}},
};

Names named(Names causes) {
    for (const auto& [name, members] : kNamed) {
        if (std::includes(causes.begin(), causes.end(), members.begin(), members.end())) {
            for (const std::string& member : members) {
                causes.erase(member);
            }
            causes.insert(name);
        }
    }
    // A call that does the same in both of its ways is named alone.
    for (const std::string& cause : Names(causes)) {
        const std::string call = cause.substr(0, cause.rfind(" fails"));
        for (const char* other : {" throws", " gives nothing"}) {
            if (call != cause && causes.erase(call + other) != 0) {
                causes.erase(cause);
                causes.insert(call);
            }
        }
    }
    return causes;
}

// The text with each number, also a hexadecimal one, replaced by what is said of it.
template <typename Replace>
std::string replaceNumbers(const std::string& text, const Replace& replace) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t digit = text[at] == '-' ? at + 1 : at;
        const bool isNumber = isdigit(text[digit]) != 0;
        const size_t end = isNumber ? text.find_first_not_of("0123456789abcdefx", digit) : at + 1;
        const std::string word = text.substr(at, end - at);
        result += isNumber ? replace(word) : word;
        at += word.size();
    }
    return result;
}

std::string hexadecimal(int64_t value) {
    char text[16];
    snprintf(text, sizeof(text), "0x%x", static_cast<uint32_t>(value));
    return text;
}
bool shows(const std::string& word, int64_t value) {
    const std::string hex = hexadecimal(value);
    return word == hex || word == hex.substr(2) || word == std::to_string(value);
}

// The numbers as in "2, 5", or "2-5" when they follow each other.
std::string listOf(const std::vector<size_t>& numbers) {
    std::string text = std::to_string(numbers.front());
    if (numbers.size() > 1 && numbers.back() - numbers.front() + 1 == numbers.size()) {
        return text + "-" + std::to_string(numbers.back());
    }
    for (size_t i = 1; i < numbers.size(); ++i) {
        text += ", " + std::to_string(numbers[i]);
    }
    return text;
}

// The names, separated by commas, and the end, in lines of at most 120 columns.
std::string wrapped(const Names& names, const std::string& indent, const std::string& end) {
    std::string text = indent;
    size_t column = text.size();
    for (const std::string& name : names) {
        const std::string word = name + (name == *names.rbegin() ? end : ", ");
        if (column > indent.size() && column + word.size() > 120) {
            text.back() = '\n';
            text += indent;
            column = indent.size();
        }
        text += word;
        column += word.size();
    }
    return text + "\n";
}

std::string written(const std::map<Names, Names>& differencesByCauses) {
    std::set<std::pair<bool, std::string>> sorted;  // what has lines comes first
    for (const auto& [causes, differences] : differencesByCauses) {
        std::string lines;
        std::string effect;
        for (const std::string& difference : differences) {
            if (difference[0] == ':') {
                effect = difference;
            } else {
                lines += difference + "\n";
            }
        }
        sorted.emplace(lines.empty(), lines + wrapped(causes, "    ", effect));
    }
    std::string text;
    for (const auto& entry : sorted) {
        text += entry.second;
    }
    return text;
}

}  // namespace

std::string normalized(const std::string& line, const Stage& stage, int result) {
    std::string text = replaceNumbers(line, [&](const std::string& word) -> std::string {
        for (const auto& [handle, name] :
             {std::pair(stage.h_pipeline, "PIPELINE"), std::pair(stage.hfilter, "FILTER"),
              std::pair(stage.hthread, "THREAD"),
              std::pair(stage.hthread + 1, "FILTER")}) {  // while it is opened
            if (handle > 1 && shows(word, handle)) {
                return name;
            }
        }
        constexpr size_t kShortestAddress = 4;
        const bool isAddress = word.rfind("0x", 0) == 0 && word.size() >= kShortestAddress;
        return isAddress && !shows(word, result) && !shows(word, -1) ? "ADDRESS" : word;
    });
    for (const char end : {'\r', '\n'}) {
        const size_t at = text.find(end);
        if (at != std::string::npos) {
            text.replace(at, 1, end == '\n' ? "\\n" : "\\r");
        }
    }
    if (text.rfind("I <", 0) == 0) {
        const size_t number = text.find(':');
        text.erase(number, text.find('>') - number);
    }
    return text.substr(0, text.find(" at :"));
}

void Seen::note(const std::string& cause, const Outcome& expected, const Outcome& failed) {
    std::vector<size_t> lost;
    size_t next = 0;
    for (const std::string& line : failed.lines) {
        const std::string alike = replaceNumbers(line, [&](const std::string& word) {
            return expected.result <= 1 || !shows(word, failed.result) ? word
                   : word[1] == 'x' ? hexadecimal(expected.result)
                                    : std::to_string(expected.result);
        });
        size_t found = next;
        while (found < expected.lines.size() && expected.lines[found] != line &&
               expected.lines[found] != alike) {
            ++found;
        }
        if (found == expected.lines.size()) {
            lines[line].insert(cause);
            continue;
        }
        while (next < found) {
            lost.push_back(++next);
        }
        ++next;
    }
    while (next < expected.lines.size()) {
        lost.push_back(++next);
    }
    if (!lost.empty()) {
        const bool all = lost.size() == expected.lines.size();
        effects[cause].insert(all ? "no line" : "without " + listOf(lost));
    }
    if (failed.result != expected.result) {
        effects[cause].insert("result " + std::to_string(failed.result));
    }
}

// What differs is written once for all rows that differ alike, and once for all differences that have
// the same causes.
std::string functionsTxt(std::map<std::string, Seen> seen) {
    std::map<std::pair<std::string, Names>, Names> rowsOf;  // by difference and causes
    for (const auto& [row, all] : seen) {
        std::map<std::string, Names> differences = all.lines;
        for (const auto& [cause, effects] : all.effects) {
            std::string text;
            for (const std::string& effect : effects) {
                text += (text.empty() ? ": " : ", ") + effect;
            }
            differences[text].insert(cause);
        }
        for (const auto& [difference, causes] : differences) {
            rowsOf[{difference, named(causes)}].insert(row);
        }
    }
    std::map<Names, std::map<Names, Names>> sections;  // by rows and causes
    for (const auto& [difference, rows] : rowsOf) {
        sections[rows][difference.second].insert(difference.first);
    }
    std::string text = kHead;
    for (const auto& [row, all] : seen) {
        text += "== " + row + ": " + std::to_string(all.plain.result) + "\n";
        for (size_t i = 0; i < all.plain.lines.size(); ++i) {
            text += std::to_string(i + 1) + " " + all.plain.lines[i] + "\n";
        }
        text += written(sections[{row}]);
        sections.erase({row});
    }
    for (const auto& [rows, differences] : sections) {
        Names shortened;  // without x_native_frontend_ or x_velmora_filter_
        for (const std::string& row : rows) {
            const size_t prefix =
                row.rfind("x_", 0) == 0 ? row.find('_', row.find('_', 2) + 1) + 1 : 0;
            shortened.insert(row.substr(prefix));
        }
        text += wrapped(shortened, "-- ", "") + written(differences);
    }
    return text;
}

}  // namespace tests
