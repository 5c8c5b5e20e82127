// Messages from resources, and the attach step that loads the library's own.
#include <filesystem>
#include <gmock/gmock.h>
#include <string>

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/modules.h"
#include "krdcmmn/xml/message_container.h"

#include "tests/support/program.h"
#include "tests/xml/parsed.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

// The step has run before the program's own static objects are made.
const char* const text_at_static_construction = SystemMessageContainer().find("kr_File_Error");

TEST(Attach, LibrarysMessagesAreThereBeforeTheProgramsOwnCode) {
  EXPECT_STREQ(text_at_static_construction, "Error! File '%1': %2");
  EXPECT_STREQ(SystemMessageContainer().find("kr_MapFile_Error"), "Error on mapping '%1': %2");
  EXPECT_STREQ(SystemMessageContainer().find("kr_Font_Error"),
               "This type of font is not supported.\n"
               "Please choose another font file or set editbox empty.\n"
               "In the latter case the default font will be used.");
}

TEST(Attach, ResourceHasItsLineEndsWhateverTheSourceHas) {
  const HRSRC found = FindResourceA(nullptr, 3001, "KR_MSG");
  ASSERT_NE(found, nullptr);
  const std::string text(static_cast<const char*>(LockResource(LoadResource(nullptr, found))),
                         SizeofResource(nullptr, found));
  EXPECT_THAT(text, StartsWith("<messages>\r\n  <message name=\"kr_MapFile_Error\">"));
  for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
    EXPECT_EQ(text[at - 1], '\r');
  }
}

// A copy of a program in a directory where `parser` stands in for the parser's library.
krtest::Outcome RunBeside(const std::string& program, const std::string& argument,
                          const std::string& parser) {
  const krtest::TempDir dir;
  fs::copy_file(program, dir.path() / "program");
  fs::copy_file(parser, dir.path() / "libexpat.so.1");
  krtest::Outcome outcome = krtest::Run(dir.file("program"), {argument});
  const std::size_t at = outcome.err.find(dir.path().string());
  if (at != std::string::npos) {
    outcome.err.replace(at, dir.path().string().size(), "DIR");
  }
  return outcome;
}

TEST(Attach, WithoutTheParserNeitherFormOfTheLibraryLoads) {
  const krtest::TempDir dir;
  krtest::WriteBytes(dir.file("none"), "not a library");
  const std::string self = fs::read_symlink("/proc/self/exe").string();
  for (const bool shared : {true, false}) {
    const std::string program = shared ? KR_PROGRAM : self;
    const std::string argument = shared ? "--version" : "--gtest_list_tests";
    const krtest::Outcome missing = RunBeside(program, argument, dir.file("none"));
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "");
    EXPECT_THAT(missing.err, StartsWith("FATAL ERROR! Couldn't load messages.: "
                                        "Failed to load library DIR/libexpat.dll: \n"));
    const krtest::Outcome partial = RunBeside(program, argument, PART_OF_PARSER);
    EXPECT_EQ(partial.status, 1);
    EXPECT_THAT(partial.err,
                HasSubstr("Failed to find function 'XML_SetElementHandler' by name: \n"));
  }
}

TEST(LoadStrings, LastTextOfANameWinsAtItsFirstPlace) {
  kr::MessageContainer messages;
  ASSERT_TRUE(messages.LoadStrings(nullptr, 1));
  EXPECT_STREQ(messages.find("a"), "last \xe6");
  EXPECT_STREQ(messages.find("A"), "by case");
  EXPECT_STREQ(messages.find("b"), "any element");
  EXPECT_STREQ(messages.find("empty"), "");
  EXPECT_EQ(messages.find("nameless"), nullptr);
}

TEST(LoadStrings, SecondLoadReplacesAllAndKeepsTheChain) {
  kr::MessageContainer parent;
  kr::MessageContainer messages;
  ASSERT_TRUE(parent.LoadStrings(nullptr, 1));
  ASSERT_TRUE(messages.LoadStrings(nullptr, 1));
  messages.attach(&parent);
  ASSERT_TRUE(messages.LoadStrings(nullptr, 2));
  EXPECT_STREQ(messages.find("new"), "only");
  EXPECT_STREQ(messages.find("b"), "any element");  // the parent's
  // Text that is rejected, a missing resource and a missing parser change nothing; a text without
  // messages leaves none.
  testing::internal::CaptureStdout();
  EXPECT_FALSE(messages.LoadStrings(nullptr, 4));
  testing::internal::GetCapturedStdout();
  krtest::ForgetText();
  EXPECT_THROW(messages.LoadStrings(nullptr, 99), krerr::Win32Ecept);
  SetLibraryHook([](LibraryStep, std::string&) { return false; });
  EXPECT_THROW(messages.LoadStrings(nullptr, 1), DllException);
  SetLibraryHook({});
  EXPECT_STREQ(messages.find("new"), "only");
  EXPECT_FALSE(messages.LoadStrings(nullptr, 3));
  EXPECT_EQ(messages.find("new"), nullptr);
}

}  // namespace
