#include "shell/command_line.h"

#include <gtest/gtest.h>

namespace qor::shell {
namespace {

using Args = std::vector<std::string>;

TEST(SplitCommandLine, SpacesTabsAndQuotedParts) {
  EXPECT_EQ(SplitCommandLine(""), Args{});
  EXPECT_EQ(SplitCommandLine(" \t "), Args{});
  EXPECT_EQ(SplitCommandLine("  prog  a\tb  "), (Args{"prog", "a", "b"}));
  EXPECT_EQ(SplitCommandLine(R"(prog "a b" c" d"e)"), (Args{"prog", "a b", "c de"}));
  EXPECT_EQ(SplitCommandLine(R"(prog "" x "")"), (Args{"prog", "", "x", ""}));
}

TEST(SplitCommandLine, ProgramNameTakesBackslashesLiterally) {
  EXPECT_EQ(SplitCommandLine(R"("C:\Program Files\app.exe" /x)"),
            (Args{R"(C:\Program Files\app.exe)", "/x"}));
  EXPECT_EQ(SplitCommandLine(R"(dir\sub\"app" x)"), (Args{R"(dir\sub\app)", "x"}));
  EXPECT_EQ(SplitCommandLine(R"("a"b c)"), (Args{"ab", "c"}));
}

TEST(SplitCommandLine, BackslashesBeforeQuotes) {
  // Not before a quote: literal.
  EXPECT_EQ(SplitCommandLine(R"(p C:\dir\file.txt a\\b)"),
            (Args{"p", R"(C:\dir\file.txt)", R"(a\\b)"}));
  // Odd run: half of them and a literal quote.
  EXPECT_EQ(SplitCommandLine(R"(p a\"b a\\\"b)"), (Args{"p", R"(a"b)", R"(a\"b)"}));
  // Even run: half of them, the quote opens or closes.
  EXPECT_EQ(SplitCommandLine(R"(p "tail\\" "a\\\\"b c)"), (Args{"p", R"(tail\)", R"(a\\b)", "c"}));
  EXPECT_EQ(SplitCommandLine(R"(p "say \"hi\"")"), (Args{"p", R"(say "hi")"}));
}

TEST(SplitCommandLine, DoubledQuotesAndUnbalancedQuotes) {
  EXPECT_EQ(SplitCommandLine(R"(p "a""b" c)"), (Args{"p", R"(a"b)", "c"}));
  // An open quote runs to the end of the line, spaces included.
  EXPECT_EQ(SplitCommandLine(R"(p "a b  )"), (Args{"p", "a b  "}));
  EXPECT_EQ(SplitCommandLine(R"("prog with space)"), (Args{"prog with space"}));
  EXPECT_EQ(SplitCommandLine("p \""), (Args{"p", ""}));
}

}  // namespace
}  // namespace qor::shell
