#include <holvane/txt.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdint>
#include <cwchar>
#include <fstream>
#include <sstream>
#include <string>
#include <type_traits>

using namespace Holvane::TXT;

namespace {

// One exported text as the hosts expect it: its class, its name, whether it is wide, and the text.
struct ExpectedText {
    std::string className;
    std::string name;
    bool wide;
    std::string text;
};

// The table of every text lies beside this file, one text a line in the order of the library's data,
// tab-separated, with "\n", "\t" and "\\" standing for a line feed, a tab and a backslash.
std::string unescape(std::string const& field)
{
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        if (field[i] != '\\' || i + 1 == field.size()) {
            text += field[i];
            continue;
        }
        char const next = field[++i];
        text += next == 'n' ? '\n' : next == 't' ? '\t' : next;
    }
    return text;
}

std::vector<ExpectedText> expectedTexts()
{
    std::string const here = __FILE__;
    std::ifstream table(here.substr(0, here.find_last_of('/')) + "/text_tables.tsv");
    std::vector<ExpectedText> texts;
    std::string line;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        ExpectedText t;
        std::string kind, text;
        std::getline(fields, t.className, '\t');
        std::getline(fields, t.name, '\t');
        std::getline(fields, kind, '\t');
        std::getline(fields, text);
        t.wide = kind == "wide";
        t.text = unescape(text);
        texts.push_back(t);
    }
    return texts;
}

// The exported symbol of a text, found by its mangled name in the loaded library itself: a text that this
// program names directly also has a copy in the program, elsewhere than the library's data.
void const* exportedText(ExpectedText const& t)
{
    static void* const library = dlopen("libholvane.so.2", RTLD_NOW | RTLD_NOLOAD);
    std::string const symbol = "_ZN7Holvane3TXT4v2_0" + std::to_string(t.className.size()) + t.className +
                               std::to_string(t.name.size()) + t.name + "E";
    return library ? dlsym(library, symbol.c_str()) : nullptr;
}

}  // namespace

// Addresses rise strictly, so texts that repeat another's words (param_viewMode and param_renderInsideZov, the
// two verbose-level descriptions) stay texts of their own.
TEST(TextTables, EveryTextIsExportedInOrderExactlyAsHostsExpectIt)
{
    std::vector<ExpectedText> const texts = expectedTexts();
    ASSERT_EQ(texts.size(), 223u);
    std::uintptr_t previous = 0;
    for (ExpectedText const& t : texts) {
        void const* address = exportedText(t);
        ASSERT_NE(address, nullptr) << t.className << "::" << t.name;
        ASSERT_LT(previous, reinterpret_cast<std::uintptr_t>(address)) << t.name << " lies out of order";
        previous = reinterpret_cast<std::uintptr_t>(address);
        if (t.wide) {
            std::wstring const expected(t.text.begin(), t.text.end());  // the wide texts are plain ASCII
            EXPECT_EQ(std::wcscmp(*static_cast<wchar_t const* const*>(address), expected.c_str()), 0) << t.name;
        } else {
            EXPECT_STREQ(*static_cast<char const* const*>(address), t.text.c_str()) << t.name;
        }
    }
}

// Hosts construct and copy the classes like any empty class; only the assignments are exported functions.
static_assert(std::is_copy_constructible<Core>::value && std::is_move_constructible<Vray>::value &&
                  std::is_copy_constructible<Vray3dsMax>::value && std::is_copy_constructible<Merger>::value,
              "text classes copy like any empty class");

template <typename Texts>
void expectAssignmentsReturnTheObject()
{
    Texts a, b;
    EXPECT_EQ(&(a = b), &a);
    EXPECT_EQ(&(a = Texts()), &a);
}

TEST(TextTables, AssignmentReturnsTheObject)
{
    expectAssignmentsReturnTheObject<Core>();
    expectAssignmentsReturnTheObject<Vray>();
    expectAssignmentsReturnTheObject<Vray3dsMax>();
    expectAssignmentsReturnTheObject<Merger>();
}
