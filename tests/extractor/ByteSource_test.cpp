#include "ByteSource.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "BgzfBlocks.h"
#include "ExtractorTestSupport.h"
#include "Threads.h"

namespace tarvek::extractor {
namespace {

using test::Gzipped;

/// The result of reading a file to its end.
struct Outcome {
  std::string m_bytes;
  std::string m_error;
  bool m_is_truncated = false;

  bool operator==(const Outcome&) const = default;
};

constexpr std::size_t kStep = std::size_t{1} << 16;

template <class Source>
Outcome ReadAll(Source& source) {
  Outcome outcome;
  std::string step(kStep, '\0');
  try {
    while (const std::size_t count = source.Read(step.data(), step.size()))
      outcome.m_bytes.append(step, 0, count);
  } catch (const TruncatedFile& message) {
    outcome.m_error = message;
    outcome.m_is_truncated = true;
  } catch (const std::string& message) {
    outcome.m_error = message;
  }
  return outcome;
}

class ByteSourceTest : public testing::Test {
 protected:
  void TearDown() override { EXPECT_TRUE(SetEnvironment(kThreadsVariable, "")); }

  Outcome ReadWith(int threads, std::string_view stored) {
    EXPECT_TRUE(SetEnvironment(kThreadsVariable, std::to_string(threads)));
    test::WriteFile(m_path, stored);
    ByteSource source(m_path);
    const Outcome outcome = ReadAll(source);
    EXPECT_EQ(source.StoredBytes(), static_cast<std::int64_t>(stored.size()));
    EXPECT_LE(source.StoredBytesRead(), source.StoredBytes());
    return outcome;
  }

  // Member by member, in one thread.
  Outcome ReadSlowly(std::string_view stored) {
    test::WriteFile(m_path, stored);
    StoredFile file(m_path);
    GzipStream stream(file, GzipStream::Place::kFirstMember);
    return ReadAll(stream);
  }

  void ExpectTheSameWithAnyThreads(std::string_view stored) {
    const Outcome slow = ReadSlowly(stored);
    for (const int threads : {1, 2, 5}) {
      const Outcome outcome = ReadWith(threads, stored);
      EXPECT_EQ(outcome.m_error, slow.m_error) << threads;
      EXPECT_EQ(outcome.m_is_truncated, slow.m_is_truncated) << threads;
      EXPECT_EQ(outcome.m_bytes.size(), slow.m_bytes.size()) << threads;
      EXPECT_TRUE(outcome.m_bytes == slow.m_bytes) << threads;
    }
  }

  void ExpectBytes(std::string_view stored, const std::string& bytes) {
    for (const int threads : {1, 2, 5}) {
      const Outcome outcome = ReadWith(threads, stored);
      EXPECT_EQ(outcome.m_error, "") << threads;
      EXPECT_EQ(outcome.m_bytes.size(), bytes.size()) << threads;
      EXPECT_TRUE(outcome.m_bytes == bytes) << threads;
    }
  }

  test::TemporaryDirectory m_directory;
  std::string m_path = m_directory / "run.mzML.gz";
};

// Text that compresses to about a half.
std::string SomeText(std::size_t size, unsigned seed) {
  std::mt19937 random(seed);
  std::string text(size, ' ');
  for (char& c : text) c = static_cast<char>('A' + random() % 20);
  return text;
}

// One member with its own length: a gzip header with an extra field of 6 bytes.
std::string BgzfMember(std::string_view bytes) {
  const std::string member = Gzipped(bytes);  // a header of 10 bytes without extra fields
  const std::size_t size = member.size() + 8;
  std::string made = member.substr(0, 10);
  made[3] = 4;
  made += std::string("\x06\0BC\x02\0", 6);
  made += static_cast<char>((size - 1) & 0xFFu);
  made += static_cast<char>((size - 1) >> 8);
  return made + member.substr(10);
}

std::string Bgzf(std::string_view bytes, std::size_t member_bytes = 0xFF00) {
  std::string stored;
  for (std::size_t at = 0; at < bytes.size(); at += member_bytes)
    stored += BgzfMember(bytes.substr(at, member_bytes));
  return stored + BgzfMember("");  // the end, as bgzip marks it
}

TEST_F(ByteSourceTest, ReadsAPlainFile) {
  ExpectBytes("", "");
  ExpectBytes("x", "x");
  const std::string text = SomeText(3'000'000, 1);
  ExpectBytes(text, text);
}

TEST_F(ByteSourceTest, ReadsAPlainFileInStepsOfAnySize) {
  const std::string text = SomeText(700'000, 1);
  test::WriteFile(m_path, text);
  ByteSource source(m_path);
  std::mt19937 random(1);
  std::string bytes;
  std::string step(100'000, '\0');
  while (const std::size_t count = source.Read(step.data(), random() % step.size() + 1))
    bytes.append(step, 0, count);
  EXPECT_TRUE(bytes == text);
}

TEST_F(ByteSourceTest, InflatesOneMember) {
  ExpectBytes(Gzipped(""), "");
  const std::string text = SomeText(3'000'000, 1);
  ExpectBytes(Gzipped(text), text);
}

TEST_F(ByteSourceTest, InflatesMembersOneAfterTheOther) {
  const std::string one = SomeText(700'000, 1);
  const std::string other = SomeText(100, 2);
  ExpectBytes(Gzipped(one) + Gzipped("") + Gzipped(other) + Gzipped(one), one + other + one);
}

TEST_F(ByteSourceTest, TakesWhatIsNoMemberBehindTheLastForPadding) {
  const std::string text = SomeText(100'000, 1);
  ExpectBytes(Gzipped(text) + std::string(5000, '\0'), text);
  ExpectBytes(Bgzf(text) + std::string(5000, '\0'), text);
  ExpectBytes(Bgzf(text) + "x", text);
}

TEST_F(ByteSourceTest, InflatesMembersThatSayHowLongTheyAre) {
  const std::string text = SomeText(3'000'000, 1);
  ExpectBytes(Bgzf(text), text);
  ExpectBytes(Bgzf(text, 1000), text);
  ExpectBytes(Bgzf(""), "");
  ASSERT_TRUE(BeginsBgzf(Bgzf(text)));
  ASSERT_FALSE(BeginsBgzf(Gzipped(text)));
}

TEST_F(ByteSourceTest, InflatesMembersOfBothKinds) {
  const std::string one = SomeText(1'000'000, 1);
  const std::string other = SomeText(500'000, 2);
  ExpectBytes(Bgzf(one) + Gzipped(other) + Bgzf(one), one + other + one);
  ExpectBytes(Gzipped(other) + Bgzf(one), other + one);
}

TEST_F(ByteSourceTest, SaysOfACutFileWhereverItIsCutWhatASingleThreadSays) {
  const std::string text = SomeText(200'000, 1);
  for (const std::string& stored : {Gzipped(text), Bgzf(text), Bgzf(text, 3000) + Gzipped(text)}) {
    for (std::size_t size = 2; size < stored.size(); size += 1000) {
      SCOPED_TRACE(size);
      ExpectTheSameWithAnyThreads(std::string_view(stored).substr(0, size));
    }
    const std::string_view cut = std::string_view(stored).substr(0, stored.size() - 1);
    EXPECT_EQ(ReadWith(2, cut).m_error,
              m_path + ": the compressed file is truncated; nothing was extracted");
  }
}

TEST_F(ByteSourceTest, SaysOfADamagedFileWhatASingleThreadSays) {
  const std::string text = SomeText(400'000, 1);
  int damaged = 0;
  for (unsigned seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string stored = seed % 3 == 0 ? Gzipped(text) : Bgzf(text, seed % 3 == 1 ? 3000 : 0xFF00);
    // In a header or anywhere.
    const std::size_t place = random() % 2 == 0 ? random() % 18 : random() % stored.size();
    stored[std::max<std::size_t>(place, 2)] ^= static_cast<char>(1u << random() % 8);
    ExpectTheSameWithAnyThreads(stored);
    damaged += ReadWith(2, stored).m_error.empty() ? 0 : 1;
  }
  EXPECT_GT(damaged, 150);
}

TEST_F(ByteSourceTest, BelievesNoLengthThatIsNotTheMembers) {
  const std::string text = SomeText(300'000, 1);
  for (const int low : {0, 5, 17, 100, 255}) {
    for (const std::size_t member : {0, 3, 11}) {
      std::string stored;
      std::size_t length_at = 0;
      for (std::size_t at = 0, i = 0; at < text.size(); at += 9000, ++i) {
        if (i == member) length_at = stored.size() + 16;
        stored += BgzfMember(std::string_view(text).substr(at, 9000));
      }
      stored[length_at] = static_cast<char>(low);
      ExpectBytes(stored, text);
    }
  }
}

TEST_F(ByteSourceTest, EndsAtAnyMomentWithItsThreads) {
  EXPECT_TRUE(SetEnvironment(kThreadsVariable, "4"));
  const std::string text = SomeText(3'000'000, 1);
  for (const std::string& stored : {Gzipped(text), Bgzf(text)}) {
    test::WriteFile(m_path, stored);
    for (std::size_t reads = 0; reads < 60; ++reads) {
      ByteSource source(m_path);
      std::string step(50'000, '\0');
      for (std::size_t i = 0; i < reads; ++i) {
        const std::size_t count = source.Read(step.data(), step.size());
        ASSERT_GT(count, 0u);
      }
    }
  }
}

TEST_F(ByteSourceTest, RefusesANumberOfThreadsThatIsNone) {
  EXPECT_TRUE(SetEnvironment(kThreadsVariable, "none"));
  test::WriteFile(m_path, Gzipped("x"));
  EXPECT_EQ(tarvek::test::MessageOf([&] { const ByteSource source(m_path); }),
            "TARVEK_THREADS needs a whole number of 1 or more, not \"none\"");
}

}  // namespace
}  // namespace tarvek::extractor
