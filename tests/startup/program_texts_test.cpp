#include "startup/program_texts.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/run_outcome.h"
#include "startup/parameter_table.h"

namespace corvid {
namespace {

TEST(ProgramTexts, EveryExtensionKeyHasAMeaning) {
  for (const ExtensionKey& row : extensionKeys()) {
    EXPECT_FALSE(extensionKeyMeaning(row.key).empty()) << row.key << " has no line in --help";
  }
  EXPECT_TRUE(extensionKeyMeaning("no_such_key").empty());
}

TEST(ProgramTexts, HelpNamesEveryExtensionKeyWithItsDefault) {
  const std::string help = helpText();
  for (const ExtensionKey& row : extensionKeys()) {
    const std::string shown = row.defaultValue[0] == '\0' ? "empty" : row.defaultValue;
    const std::size_t line = help.find("\t" + std::string(row.key) + " ");
    ASSERT_NE(line, std::string::npos) << row.key;
    const std::string text = help.substr(line, help.find('\n', line) - line);
    EXPECT_NE(text.find("default (" + shown + ")"), std::string::npos) << text;
    EXPECT_NE(text.find(extensionKeyMeaning(row.key)), std::string::npos) << text;
  }
}

TEST(ProgramTexts, HelpNamesEverySingleLetterOptionWithItsKey) {
  const std::string help = helpText();
  int options = 0;
  for (const ParameterDefault& row : parameterDefaults()) {
    if (row.option == '\0') continue;
    ++options;
    const std::string start = std::string("\t-") + row.option + ' ' + row.key + ' ';
    const std::size_t line = help.find(start);
    ASSERT_NE(line, std::string::npos) << start;
    const std::string text = help.substr(line, help.find('\n', line) - line);
    if (std::string_view(row.value) != kEmptyPath) {
      EXPECT_NE(text.find(std::string("default (") + row.value + ")"), std::string::npos) << text;
    }
  }
  EXPECT_GT(options, 20);
}

TEST(ProgramTexts, HelpShowsPathsLeftOutAsTheUserMeetsThem) {
  const std::string help = helpText();
  EXPECT_EQ(help.find("EmptyPath"), std::string::npos);
  EXPECT_NE(help.find("-L logfilepath"), std::string::npos);
  EXPECT_NE(help.find("default (the data folder)"), std::string::npos);
  EXPECT_NE(help.find("default (none)"), std::string::npos);
}

TEST(ProgramTexts, HelpListsEveryStrictExitStatus) {
  const std::string help = helpText();
  for (int status = 1; status < 255; ++status) {
    const std::string meaning = describeStrictExit(status);
    if (meaning.empty()) continue;
    EXPECT_NE(help.find("\t" + std::to_string(status) + " "), std::string::npos) << status;
    EXPECT_NE(help.find(meaning), std::string::npos) << meaning;
  }
  for (const char* status : {"\t0 ", "\t255 ", "\t3 "}) EXPECT_NE(help.find(status), std::string::npos) << status;
}

TEST(ProgramTexts, HelpSpeaksOfThisPlatform) {
  const std::string help = helpText();
  EXPECT_EQ(help.find("Corvid.exe"), std::string::npos);
  EXPECT_NE(help.find("corvid -D /data/run1.mzML -O results/"), std::string::npos);
  EXPECT_NE(help.find("corvid run.para"), std::string::npos);
  EXPECT_NE(help.find("corvid x.mgf"), std::string::npos);
  EXPECT_NE(help.find("--KEY=VALUE"), std::string::npos);
  EXPECT_TRUE(help.ends_with("see README.md (installed in /usr/share/doc/corvid/).\n"));
}

}  // namespace
}  // namespace corvid
