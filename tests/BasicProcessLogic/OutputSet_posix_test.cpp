// A finished table that the file system does not let us delete.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "OutputSet.h"
#include "ProcessTestSupport.h"
#include "TestSupport.h"

namespace tarvek {
namespace {

namespace fs = std::filesystem;

/// While this lives, the process acts as a user other than root.
class AnotherUser {
 public:
  AnotherUser() : m_is_switched(::seteuid(kNobody) == 0) {}
  ~AnotherUser() {
    if (m_is_switched) {
      EXPECT_EQ(::seteuid(0), 0);
    }
  }
  AnotherUser(const AnotherUser&) = delete;
  AnotherUser& operator=(const AnotherUser&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;
  bool m_is_switched;
};

// In a directory such as /tmp everybody can make files, but only the owner can delete them.
TEST(OldTable, ThatCannotBeDeletedStaysAndStandsAlone) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make a file of another user";
  const test::TemporaryDirectory directory;
  UserParameters parameters = test::ParametersFor(directory);
  SetCurrentFile(parameters, "/elsewhere/run.ms1");
  test::WriteFile(directory / "run.csv", "old");
  fs::permissions(directory.Path(), fs::perms::all | fs::perms::sticky_bit);
  std::string message;
  {
    const AnotherUser user;
    OutputClaim claim(parameters);
    message = test::MessageOf([&] { const OutputSet outputs(parameters, claim); });
  }
  EXPECT_EQ(message, "Cannot delete file: " + (directory / "run.csv"));
  EXPECT_EQ(test::ReadFile(directory / "run.csv"), "old");
  EXPECT_FALSE(fs::exists(directory / "run.csv_unfinished"));
}

}  // namespace
}  // namespace tarvek
