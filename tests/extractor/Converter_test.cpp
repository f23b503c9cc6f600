// The command of a converter is the same on every system.
#include "Converter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvek::extractor {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> WordsOf(const std::string& text) {
  return ParseTemplate(text, "NAME").m_arguments;
}

std::string ErrorOf(const std::string& text) {
  try {
    WordsOf(text);
  } catch (const std::string& message) {
    return message;
  }
  return "";
}

TEST(ParseTemplate, SeparatesWordsAtBlanks) {
  EXPECT_THAT(WordsOf(" c  -i={in}\t-o={outdir} \n"), ElementsAre("c", "-i={in}", "-o={outdir}"));
}
TEST(ParseTemplate, KeepsTogetherWhatIsInQuotes) {
  EXPECT_THAT(WordsOf("'a b' \"c  d\""), ElementsAre("a b", "c  d"));
  EXPECT_THAT(WordsOf("-i=\"{in}\" -o='{outdir}'x"), ElementsAre("-i={in}", "-o={outdir}x"));
  EXPECT_THAT(WordsOf("\"it's\" 'say \"x\"'"), ElementsAre("it's", "say \"x\""));
  EXPECT_THAT(WordsOf("c '' \"\""), ElementsAre("c", "", ""));
}
TEST(ParseTemplate, TakesEveryOtherCharacterForItself) {
  EXPECT_THAT(
      WordsOf("C:\\tools\\c.exe \\ $HOME `x` ~ * a&b a;b|c x>y"),
      ElementsAre("C:\\tools\\c.exe", "\\", "$HOME", "`x`", "~", "*", "a&b", "a;b|c", "x>y"));
  EXPECT_THAT(WordsOf("\"D:\\a b\\\" x"), ElementsAre("D:\\a b\\", "x"));
}
TEST(ParseTemplate, RefusesWhatOnlyAShellUnderstands) {
  for (const std::string word : {"|", "||", "&", "&&", ";", ";;", "<", "<<", ">", ">>", ">&", "(",
                                 ")", "2>&1", ">log", "2>log", "&>log", "<in"}) {
    SCOPED_TRACE(word);
    EXPECT_THAT(ErrorOf("c {in} " + word + " d"),
                testing::StartsWith("NAME holds " + word + " (the command is no shell line"));
    EXPECT_THAT(WordsOf("c '" + word + "'"), ElementsAre("c", word));
  }
}
TEST(ParseTemplate, RefusesAQuoteThatIsNotClosed) {
  EXPECT_EQ(ErrorOf("c \"{in}"), "NAME has a quote that is not closed");
  EXPECT_EQ(ErrorOf("c it's {in}"), "NAME has a quote that is not closed");
}
TEST(ParseTemplate, RefusesBlanksAlone) { EXPECT_EQ(ErrorOf(" \t"), "NAME holds no command"); }

TEST(ConverterCommand, PutsThePathsIntoWords) {
  EXPECT_THAT(
      ConverterCommand({{"/{in}/c"}, {"-i={in}", "-o={outdir}", "{in}{in}", "{ in }"}},
                       "/a b/$x\".raw", "/o"),
      ElementsAre("/{in}/c", "-i=/a b/$x\".raw", "-o=/o", "/a b/$x\".raw/a b/$x\".raw", "{ in }"));
}
TEST(ConverterCommand, LooksAtNothingTwice) {
  EXPECT_THAT(ConverterCommand({{}, {"c", "{in}", "{outdir}", "{{in}}"}}, "{outdir}.raw", "o/{in}"),
              ElementsAre("c", "{outdir}.raw", "o/{in}", "{{outdir}.raw}"));
}
TEST(ConverterCommand, MakesNoOptionOfAPath) {
  EXPECT_THAT(ConverterCommand({{}, {"c", "{in}", "-o{outdir}"}}, "-o.raw", "-"),
              ElementsAre("c", "./-o.raw", "-o./-"));
}

TEST(ShownCommand, PutsWhatIsNotPlainInQuotes) {
  EXPECT_EQ(ShownCommand({"/bin/c", "-i=a_b.raw", "a b", "", "x;y"}),
            "/bin/c -i=a_b.raw \"a b\" \"\" \"x;y\"");
}

}  // namespace
}  // namespace tarvek::extractor
