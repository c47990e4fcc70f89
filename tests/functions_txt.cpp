#include "tests/functions_txt.h"

#include <algorithm>
#include <cstdlib>
#include <regex>

namespace tests {

namespace {

constexpr char kIndent[] = "\n   ";

// The result and the lines. Numbers stand for lines of the plain run, as in "1-3, 5".
std::string told(const Outcome& outcome, const Outcome& plain) {
    std::string text = outcome.fatal.empty() ? std::to_string(outcome.result) : "ends the process";
    size_t next = 0;       // the plain run's next line
    bool counted = false;  // the previous line was written as a number
    for (const std::string& line : outcome.lines) {
        const auto from = plain.lines.begin() + static_cast<ptrdiff_t>(next);
        const auto found = std::find(from, plain.lines.end(), line);
        const bool isNew = found == plain.lines.end();
        if (isNew || !counted || found != from) {
            text += isNew || !counted ? kIndent : ", ";
        } else {
            const size_t number = text.find_last_of("-, \n");
            text.resize(text[number] == '-' ? number : text.size());
            text += '-';
        }
        next = isNew ? next : static_cast<size_t>(found - plain.lines.begin()) + 1;
        text += isNew ? line : std::to_string(next);
        counted = !isNew;
    }
    return text + (outcome.fatal.empty() ? "\n" : kIndent + outcome.fatal + "\n");
}

// Replaces causes that all have the same outcome by one name.
void shorten(Lines* causes) {
    const std::pair<const char*, Lines> kNames[] = {
        {"no environment",
         {"GetEnv gives nothing", "AttachCurrentThread fails or gives nothing",
          "no virtual machine"}},
        {"wrong handle", {"closed handle", "handle of something else"}}};
    for (const auto& [name, members] : kNames) {
        const auto isMember = [&, &of = members](const std::string& cause) {
            return std::find(of.begin(), of.end(), cause) != of.end();
        };
        const auto rest = std::stable_partition(causes->begin(), causes->end(), isMember);
        if (rest - causes->begin() == static_cast<ptrdiff_t>(members.size())) {
            causes->erase(causes->begin() + 1, rest);
            causes->front() = name;
        }
    }
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
    const std::string text = told(outcome, mPlain);
    for (Cause& other : mCauses) {
        if (other.what == what && other.way == way && other.outcome == text) {
            other.thread.clear();
            return;
        }
    }
    mCauses.push_back({what, way, text, attached ? " (attached)" : " (not attached)"});
}

std::string Section::text(const std::string& name) const {
    std::string text = "== " + name + ": " + std::to_string(mPlain.result) + "\n";
    for (size_t i = 0; i < mPlain.lines.size(); ++i) {
        text += std::to_string(i + 1) + " " + mPlain.lines[i] + "\n";
    }
    struct Group {
        std::string outcome, what;  // what: that of the last cause
        Lines causes;
    };
    std::vector<Group> groups;
    for (const Cause& cause : mCauses) {
        const auto same = [&](const Cause& other) {
            return other.what == cause.what && other.way == cause.way;
        };
        const bool once = std::count_if(mCauses.begin(), mCauses.end(), same) == 1;
        const std::string thread = once ? "" : cause.thread;
        auto group = std::find_if(groups.begin(), groups.end(), [&](const Group& other) {
            return other.outcome == cause.outcome;
        });
        if (group == groups.end()) {
            group = groups.insert(group, {cause.outcome, "", {}});
        }
        if (group->what == cause.what + thread) {
            std::string& last = group->causes.back();
            last.insert(last.size() - thread.size(), " or" + cause.way);
        } else {
            group->causes.push_back(cause.what + cause.way + thread);
        }
        group->what = cause.what + thread;
    }
    for (Group& group : groups) {
        shorten(&group.causes);
        std::string head = "--";
        for (const std::string& cause : group.causes) {
            const bool fits = head.size() - (head.rfind('\n') + 1) + cause.size() < 118;
            head += (fits ? " " : kIndent) + cause + ",";
        }
        head.back() = ':';
        text += head + " " + group.outcome;
    }
    return text + "\n";
}

}  // namespace tests
