// The load, in a process where the library was not loaded before, and the log gate. functions.txt
// says how a load fails.

#include <cutils/properties.h>
#include <errno.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <regex>

#include "log/halvorin_log.h"
#include "tests/support/library_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

using Lines = std::vector<std::string>;

std::string dotted(std::string name) {
    std::replace(name.begin(), name.end(), '/', '.');
    return name;
}

// For "name(II)V" returns "void name(int, int);". Adds the classes of the signature to named.
std::string declaration(const std::string& member, Lines* named) {
    static const std::map<std::string, std::string> kPrimitives = {
        {"V", "void"}, {"Z", "boolean"}, {"B", "byte"},  {"C", "char"},  {"S", "short"},
        {"I", "int"},  {"J", "long"},    {"F", "float"}, {"D", "double"}};
    static const std::regex kType("(\\[*)(?:L([^;]+);|([A-Z]))");
    const std::string signature = member.substr(member.find('('));
    Lines types;
    for (std::sregex_iterator type(signature.begin(), signature.end(), kType), end; type != end;
         ++type) {
        if ((*type)[2].matched) {
            named->push_back(dotted(type->str(2)));
        }
        types.push_back((*type)[2].matched ? named->back() : kPrimitives.at(type->str(3)));
        for (auto i = type->length(1); i > 0; --i) {
            types.back() += "[]";
        }
    }
    std::string text = member[0] == '<' ? "" : types.back() + " ";
    text += member.substr(0, member.find('(')) + "(";
    for (size_t i = 0; i + 1 < types.size(); ++i) {
        text += (i == 0 ? "" : ", ") + types[i];
    }
    return text + ");";
}

// What a load looks up and registers, then the classes that appear only in signatures.
Lines demandedBy(const std::vector<tests::Point>& load) {
    Lines lines;
    const auto add = [&](const std::string& line) {
        if (std::find(lines.begin(), lines.end(), line) == lines.end()) {
            lines.push_back(line);
        }
    };
    Lines named;
    std::string clazz;
    for (const tests::Point& call : load) {
        for (const std::string& whole : call.whole) {
            if (call.call == "FindClass") {
                add(clazz = dotted(whole));
            } else {
                add(clazz + (call.call == "RegisterNatives" ? ": native " : ": ") +
                    declaration(whole, &named));
            }
        }
    }
    std::for_each(named.begin(), named.end(), add);
    return lines;
}

// The same from java/keep.pro.
Lines kept() {
    std::ifstream file(PROJECT_FOLDER "/java/keep.pro");
    static const std::regex kRule("-keep class ([^ ]+).*|    (.*)");
    Lines lines;
    std::string clazz;
    std::smatch match;
    for (std::string line; std::getline(file, line);) {
        if (std::regex_match(line, match, kRule)) {
            clazz = match[1].matched ? match.str(1) : clazz;
            lines.push_back(clazz + (match[2].matched ? ": " + match.str(2) : ""));
        }
    }
    return lines;
}

class LoadTest : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        tests::startInterceptedVm({tests::kSmallHeap, tests::kCheckJni});
    }
};

TEST_F(LoadTest, PublishesTheVirtualMachineOnlyWhenItSucceeds) {
    tests::failCall("GetEnv", 1, tests::kFails);
    EXPECT_EQ(-1, tests::loadInterceptedLibrary());
    tests::failCall("RegisterNatives", 3, tests::kFails);  // the last
    EXPECT_EQ(-1, tests::loadInterceptedLibrary());
    EXPECT_EQ(nullptr, g_velmora_javaVM);
    tests::loadLibrary();
    EXPECT_EQ(tests::vm(), g_velmora_javaVM);
    // SIGINT writes a log line and leaves errno alone.
    property_set("persist.vendor.zyt.broadcast.log.level", "E");
    tests::takeLog();
    errno = 1234;
    raise(SIGINT);
    EXPECT_EQ(1234, errno);
    EXPECT_EQ(std::vector<std::string>{"E ignore received signal 2"}, tests::takeLog());
}

TEST_F(LoadTest, DemandsOfJavaWhatTheKeepRulesList) {
    tests::record();
    EXPECT_EQ(JNI_VERSION_1_4, tests::loadInterceptedLibrary());
    const Lines demanded = demandedBy(tests::recorded());
    const Lines listed = kept();
    const auto compare = [](const Lines& lines, const Lines& others, const char* what) {
        for (const std::string& line : lines) {
            if (std::find(others.begin(), others.end(), line) == others.end()) {
                ADD_FAILURE() << "java/keep.pro " << what << line;
            }
        }
    };
    compare(demanded, listed, "lacks: ");
    compare(listed, demanded, "has what the load does not ask for: ");
    for (size_t i = 0; !HasFailure() && i < demanded.size(); ++i) {
        EXPECT_EQ(demanded[i], listed[i]) << "java/keep.pro has a different order than the load";
    }
}

TEST(LogGateTest, FirstLetterOfThePropertyDecides) {
    static constexpr char kProperty[] = "test.level";
    const struct {
        const char* value;
        const char* fallback;
        int lowest;  // the lowest level that passes the gate; 6: none
    } gates[] = {{"V", "", 1}, {"v", "", 1},    {"D", "", 2},  {"debug", "", 2},
                 {"i", "", 3}, {"W", "", 4},    {"E", "", 5},  {"error", "V", 5},
                 {"", "V", 1}, {"", "info", 3}, {"W", "V", 4}, {"?", "V", 6},
                 {"2", "", 6}, {" D", "", 6},   {"", "", 6},   {"", "x", 6}};
    for (const auto& gate : gates) {
        property_set(kProperty, gate.value);
        property_set("persist.test.level", gate.fallback);
        for (int level = 0; level <= 5; ++level) {
            EXPECT_EQ(level >= gate.lowest ? 1 : 0, __halvorin_log_is_loggable(level, kProperty))
                << gate.value << "|" << gate.fallback << " " << level;
        }
        EXPECT_EQ(1, __halvorin_log_is_loggable(0x7fffffff, kProperty));
    }
    EXPECT_EQ(0, __halvorin_log_is_loggable(5, nullptr));
    // The fake takes a property's first value from the environment.
    setenv("PROPERTY_start_level", "W", 1);
    EXPECT_EQ(1, __halvorin_log_is_loggable(4, "start.level"));
}

}  // namespace
