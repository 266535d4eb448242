#include "basalt/file.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

namespace basalt {
namespace filesupport {
namespace {

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/basalt_file_XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    root_ = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + root_ + "'").c_str()); }

  UTF16String Path(const std::string& name) const { return UTF8to16((root_ + "/" + name).c_str()); }

  // A file whose byte i is Pattern(i), `size` bytes long.
  UTF16String MakePatternFile(const std::string& name, std::size_t size) const {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = Pattern(i);
    std::ofstream(root_ + "/" + name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(size));
    return Path(name);
  }
  static unsigned char Pattern(std::uint64_t i) { return static_cast<unsigned char>((i * 131 + (i >> 9)) & 0xFF); }

  std::string root_;
};

TEST_F(FileTest, DirExistsAndCreatesNestedFolders) {
  Dir nested(Path("a/b/c"));
  EXPECT_FALSE(nested.Exists());
  EXPECT_TRUE(nested.Create());
  EXPECT_TRUE(nested.Exists());
  EXPECT_TRUE(nested.Create());  // already there
  EXPECT_TRUE(Dir(UTF8to16(root_.c_str())).Exists());
  EXPECT_FALSE(File(Path("a")).Exists());  // a folder is not a file
}

TEST_F(FileTest, CreateSizeDelete) {
  File file(Path("x.bin"));
  EXPECT_FALSE(file.Exists());
  EXPECT_EQ(file.GetSize(), 0u);
  EXPECT_TRUE(file.Create());
  EXPECT_TRUE(file.Exists());
  EXPECT_FALSE(file.Create());  // never replaces what exists
  MakePatternFile("x.bin", 1234);
  EXPECT_EQ(file.GetSize(), 1234u);
  EXPECT_TRUE(file.Delete());
  EXPECT_FALSE(file.Exists());
  EXPECT_FALSE(file.Delete());
}

TEST_F(FileTest, ParentAndFullPath) {
  EXPECT_EQ(ToStdString(File(Path("sub/x.wav")).GetParent().GetPath()), root_ + "/sub");
  EXPECT_EQ(ToStdString(File(AsciiToUTF16("x.wav")).GetParent().GetPath()), ".");
  EXPECT_EQ(ToStdString(File(AsciiToUTF16("/x.wav")).GetParent().GetPath()), "/");
  EXPECT_EQ(ToStdString(File(Path("a/./b/../c.wav")).GetFullPath()), root_ + "/a/c.wav");
  EXPECT_EQ(ToStdString(File(AsciiToUTF16("//usr///lib/")).GetFullPath()), "/usr/lib");

  char cwd[4096];
  ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_EQ(ToStdString(File(AsciiToUTF16("in.wav")).GetFullPath()),
            std::string(cwd == std::string("/") ? "" : cwd) + "/in.wav");
}

TEST_F(FileTest, ReadsCrossBufferBoundariesInOddChunks) {
  constexpr std::size_t kSize = 100000;
  File file(MakePatternFile("p.bin", kSize));
  IPlatformByteStream in(file, 4096);
  ASSERT_TRUE(in.IsOpen());
  EXPECT_EQ(in.GetSize(), kSize);
  std::vector<unsigned char> chunk(5000);
  std::uint64_t offset = 0;
  for (std::size_t step = 1; offset < kSize; step = step * 3 % 5000 + 1) {
    const std::size_t got = in.ReadBlock(chunk.data(), step);
    ASSERT_EQ(got, std::min<std::uint64_t>(step, kSize - offset));
    for (std::size_t i = 0; i < got; ++i) ASSERT_EQ(chunk[i], Pattern(offset + i)) << offset + i;
    offset += got;
    EXPECT_EQ(in.GetPosition(), offset);
  }
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(in.ReadBlock(chunk.data(), 10), 0u);
}

TEST_F(FileTest, ReadLargerThanBufferAndShortReadAtEnd) {
  File file(MakePatternFile("p.bin", 50000));
  IPlatformByteStream in(file, 1024);
  std::vector<unsigned char> all(60000);
  ASSERT_EQ(in.ReadBlock(all.data(), 10), 10u);
  EXPECT_EQ(in.ReadBlock(all.data() + 10, 60000), 49990u);
  for (std::size_t i = 0; i < 50000; ++i) ASSERT_EQ(all[i], Pattern(i));
}

TEST_F(FileTest, SeekAndSkip) {
  File file(MakePatternFile("p.bin", 30000));
  IPlatformByteStream in(file, 1000);
  unsigned char byte = 0;
  ASSERT_TRUE(in.SetPosition(25000));
  ASSERT_EQ(in.ReadBlock(&byte, 1), 1u);
  EXPECT_EQ(byte, Pattern(25000));
  ASSERT_TRUE(in.SetPosition(3));  // backwards, outside the buffer
  ASSERT_EQ(in.ReadBlock(&byte, 1), 1u);
  EXPECT_EQ(byte, Pattern(3));
  ASSERT_TRUE(in.Skip(500));  // inside the buffer
  ASSERT_EQ(in.ReadBlock(&byte, 1), 1u);
  EXPECT_EQ(byte, Pattern(504));
  ASSERT_TRUE(in.Skip(-5));
  EXPECT_EQ(in.GetPosition(), 500u);
  EXPECT_FALSE(in.Skip(-501));
  EXPECT_EQ(in.GetPosition(), 500u);
  ASSERT_TRUE(in.SetPosition(40000));  // beyond the end: reads give nothing
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(in.ReadBlock(&byte, 1), 0u);
}

TEST_F(FileTest, MissingFileGivesClosedStream) {
  IPlatformByteStream in(File(Path("missing.bin")));
  EXPECT_FALSE(in.IsOpen());
  unsigned char byte;
  EXPECT_EQ(in.ReadBlock(&byte, 1), 0u);
  EXPECT_TRUE(in.AtEnd());
  OPlatformByteStream out(File(Path("no/such/folder/x.bin")));
  EXPECT_FALSE(out.IsOpen());
  EXPECT_FALSE(out.WriteBlock(&byte, 1));
}

TEST_F(FileTest, WriteThenReadBack) {
  File file(Path("w.bin"));
  {
    OPlatformByteStream out(file, 1000);
    ASSERT_TRUE(out.IsOpen());
    std::vector<unsigned char> block(2500);
    std::uint64_t written = 0;
    for (std::size_t size : {1u, 999u, 1000u, 2500u, 7u, 0u, 1500u}) {
      for (std::size_t i = 0; i < size; ++i) block[i] = Pattern(written + i);
      ASSERT_TRUE(out.WriteBlock(block.data(), size));
      written += size;
      EXPECT_EQ(out.GetPosition(), written);
    }
    // Patch a header-like field at the start, then carry on at the end.
    const unsigned char patch[4] = {'R', 'I', 'F', 'F'};
    ASSERT_TRUE(out.SetPosition(0));
    ASSERT_TRUE(out.WriteBlock(patch, 4));
    ASSERT_TRUE(out.SetPosition(written));
    ASSERT_TRUE(out.WriteBlock(patch, 4));
    EXPECT_TRUE(out.Close());
    EXPECT_FALSE(out.HasFailed());
  }
  ASSERT_EQ(file.GetSize(), 6007u + 4u);
  IPlatformByteStream in(file);
  std::vector<unsigned char> all(6011);
  ASSERT_EQ(in.ReadBlock(all.data(), all.size()), all.size());
  EXPECT_EQ(std::string(all.begin(), all.begin() + 4), "RIFF");
  for (std::size_t i = 4; i < 6007; ++i) ASSERT_EQ(all[i], Pattern(i)) << i;
  EXPECT_EQ(std::string(all.begin() + 6007, all.end()), "RIFF");
}

TEST_F(FileTest, OutputStreamTruncatesAndDestructorFlushes) {
  File file(MakePatternFile("t.bin", 5000));
  {
    OPlatformByteStream out(file);
    ASSERT_TRUE(out.WriteBlock("abc", 3));
  }
  EXPECT_EQ(file.GetSize(), 3u);
}

TEST_F(FileTest, OffsetsBeyondFourGigabytes) {
  // A sparse file: only the far end holds data.
  const std::uint64_t far = (std::uint64_t{1} << 32) + 12345;
  File file(Path("sparse.bin"));
  {
    OPlatformByteStream out(file);
    ASSERT_TRUE(out.SetPosition(far));
    ASSERT_TRUE(out.WriteBlock("end", 3));
    EXPECT_EQ(out.GetPosition(), far + 3);
    if (!out.Close()) GTEST_SKIP() << "file system does not take sparse files this large";
  }
  EXPECT_EQ(file.GetSize(), far + 3);
  IPlatformByteStream in(file);
  ASSERT_TRUE(in.SetPosition(far));
  char text[4] = {};
  ASSERT_EQ(in.ReadBlock(text, 3), 3u);
  EXPECT_STREQ(text, "end");
}

}  // namespace
}  // namespace filesupport
}  // namespace basalt
