// A named pipe instead of an output file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "PfWriter.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

using test::CaptureConsole;
using test::MessageOf;
using test::TemporaryDirectory;

TEST(PfWriter, RefusesAFileThatCannotBeRepositionedWhenItIsOpened) {
  const TemporaryDirectory directory;
  ASSERT_EQ(::mkfifo((directory / "a.pf1").c_str(), 0600), 0);
  std::string message;
  CaptureConsole(
      [&] { message = MessageOf([&] { PfWriter writer(directory / "a.pf1", "wb+", "run1"); }); });
  EXPECT_EQ(message, "Cannot relocate to 0 in " + (directory / "a.pf1"));
}

}  // namespace
}  // namespace tarvek
