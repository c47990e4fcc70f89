// Loading, in a process of its own where nothing was loaded before, and the log gate. How a load
// fails is in functions.txt.

#include <cutils/properties.h>
#include <errno.h>
#include <signal.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

#include "log/halvorin_log.h"
#include "tests/support/library_test.h"

extern "C" JavaVM* g_velmora_javaVM;

namespace {

using Lines = std::vector<std::string>;

// The Java name of the type that begins here; the text then begins behind it.
std::string takeType(std::string* text) {
    static const std::map<char, std::string> kPrimitives = {
        {'V', "void"}, {'Z', "boolean"}, {'B', "byte"},  {'C', "char"},  {'S', "short"},
        {'I', "int"},  {'J', "long"},    {'F', "float"}, {'D', "double"}};
    const char first = (*text)[0];
    const size_t length = first == 'L' ? text->find(';') + 1 : 1;
    std::string name = first == 'L' ? text->substr(1, length - 2) : "";
    std::replace(name.begin(), name.end(), '/', '.');
    text->erase(0, length);
    return first == 'L' ? name : first == '[' ? takeType(text) + "[]" : kPrimitives.at(first);
}

// Of "name(II)V": "void name(int, int);".
std::string declaration(const std::string& member) {
    const size_t open = member.find('(');
    std::string signature = member.substr(open + 1);
    std::string text = member.substr(0, open + 1);
    while (signature[0] != ')') {
        text += (text.back() == '(' ? "" : ", ") + takeType(&signature);
    }
    signature.erase(0, 1);
    const std::string result = takeType(&signature);
    return (member[0] == '<' ? "" : result + " ") + text + ");";
}

// What a load looks up and registers, then the classes that only signatures name.
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
                clazz = whole;
                std::replace(clazz.begin(), clazz.end(), '/', '.');
                add(clazz);
                continue;
            }
            const std::string text = declaration(whole);
            add(clazz + ": " + (call.call == "RegisterNatives" ? "native " : "") + text);
            static const std::regex kClass("\\w+(\\.\\w+)+");
            named.insert(named.end(), std::sregex_token_iterator(text.begin(), text.end(), kClass),
                         {});
        }
    }
    std::for_each(named.begin(), named.end(), add);
    return lines;
}

// The same of java/keep.pro.
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
    // A SIGINT is a log line, and leaves errno alone.
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
    compare(demanded, listed, "lacks ");
    compare(listed, demanded, "has, and the load does not ask for ");
    for (size_t i = 0; !HasFailure() && i < demanded.size(); ++i) {
        EXPECT_EQ(demanded[i], listed[i]) << "java/keep.pro has another order than the load";
    }
}

TEST(LogGateTest, FirstLetterOfThePropertyDecides) {
    static constexpr char kProperty[] = "test.level";
    const struct {
        const char* value;
        const char* fallback;
        int lowest;  // gate level let through; 6: none
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
    // The fake takes from the environment a property's first value.
    setenv("PROPERTY_start_level", "W", 1);
    EXPECT_EQ(1, __halvorin_log_is_loggable(4, "start.level"));
}

}  // namespace
