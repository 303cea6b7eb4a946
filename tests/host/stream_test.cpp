#include <vxgrid/host/stream.h>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include <vxgrid/host/error_handler.h>
#include <vxgrid/host/platform.h>
#include <vxgrid/host/replace_file.h>

#include "support/support.h"

using namespace VXHost;

namespace {

// 300,000 bytes in which every block of eight differs: 37,500 numbers.
std::string numbered_bytes() {
  std::string bytes;
  char number[16];
  for (int i = 0; i < 37500; ++i) {
    std::snprintf(number, sizeof number, "%07d\n", i);
    bytes += number;
  }
  return bytes;
}

// The same content in every kind of input.
std::vector<std::pair<std::string, std::unique_ptr<vxistream>>> inputs(const std::string& content) {
  const std::size_t half = content.size() / 2;
  const std::pair<const char*, std::string> files[] = {
      {"plain", content},
      {"gz by content", gz(content)},
      {"two members.gz", gz(content.substr(0, half)) + gz(content.substr(half))}};
  std::vector<std::pair<std::string, std::unique_ptr<vxistream>>> all;
  all.emplace_back("memory", std::make_unique<vxisstream>(content));
  for (const auto& [name, bytes] : files) {
    write_bytes(scratch_file(name), bytes);
    all.emplace_back(name, std::make_unique<vxifstream>(scratch_file(name)));
  }
  return all;
}

}  // namespace

TEST(Stream, ReadsTheSameFromEveryKindOfInput) {
  const std::string content = numbered_bytes();
  for (auto& [what, in] : inputs(content)) {
    SCOPED_TRACE(what);
    ASSERT_TRUE(*in);
    EXPECT_GE(in->max_bytes_left(), content.size());
    EXPECT_EQ(in->peekbyte(), '0');
    std::string line, text;
    ASSERT_TRUE(in->getline(line));
    EXPECT_EQ(line, "0000000");
    // A block past the buffer, then small pieces, then more than there is.
    std::string block(200000, '\0');
    EXPECT_EQ(in->read(block.data(), block.size()), block.size());
    EXPECT_EQ(block, content.substr(8, 200000));
    EXPECT_EQ(in->getbyte(), content[200008]);
    EXPECT_EQ(in->tell(), 200009u);
    EXPECT_EQ(in->read(text, ~0ul), content.size() - 200009);
    EXPECT_EQ(text, content.substr(200009));
    EXPECT_TRUE(in->eof());
    EXPECT_FALSE(in->damaged());
    EXPECT_EQ(in->max_bytes_left(), 0u);
    EXPECT_EQ(in->getbyte(), -1);
    EXPECT_FALSE(in->getline(line));
  }
}

TEST(Stream, SeeksBothWays) {
  const std::string content = numbered_bytes();
  for (auto& [what, in] : inputs(content)) {
    SCOPED_TRACE(what);
    for (const unsigned long at : {0ul, 8ul, 299992ul, 80ul, 65536ul, 65528ul, 150000ul, 0ul}) {
      ASSERT_TRUE(in->seek(at));
      EXPECT_EQ(in->tell(), at);
      std::string text;
      EXPECT_EQ(in->read(text, 8), 8u);
      EXPECT_EQ(text, content.substr(at, 8));
    }
    EXPECT_TRUE(in->seek(300000) && in->eof());
    EXPECT_FALSE(in->seek(300001));
    EXPECT_TRUE(in->eof());
    EXPECT_EQ(in->tell(), 300000u);
  }
}

TEST(Stream, LinesLoseTheirEnd) {
  // The second \r\n straddles the end of the buffer.
  const std::string filler(65528, 'x');
  for (auto& [what, in] : inputs("a b\r\n\n" + filler + "\r\n" + "c\rd\ne\r")) {
    SCOPED_TRACE(what);
    std::string line;
    for (const std::string& text :
         {std::string("a b"), std::string(), filler, std::string("c\rd"), std::string("e\r")}) {
      ASSERT_TRUE(in->getline(line));
      EXPECT_EQ(line, text);
    }
    EXPECT_FALSE(in->getline(line));
    std::vector<char> chars(filler.size() + 1);
    in->seek(6);
    EXPECT_TRUE(in->getline(chars.data(), chars.size()) && chars.data() == filler);
    EXPECT_TRUE(in->getline(chars.data(), chars.size()) && chars.data() == std::string())
        << "only \\r fitted";
  }
  vxisstream in("abcd\nabcdefg\r\nh\r\ni");
  char line[5];
  for (const char* text : {"abcd", "abcd", "efg", "h", "i"}) {
    ASSERT_TRUE(in.getline(line, sizeof line));
    EXPECT_STREQ(line, text);
  }
  EXPECT_FALSE(in.getline(line, sizeof line));
}

TEST(Stream, WhatDoesNotOpenIsAtItsEnd) {
  write_bytes(scratch_file("empty"), "");
  vxifstream empty(scratch_file("empty")), missing(scratch_file("no such file")), folder("/");
  EXPECT_TRUE(empty.eof());
  EXPECT_FALSE(missing);
  EXPECT_FALSE(missing.seek(0));
  EXPECT_FALSE(vxifstream().open(scratch_file("no such file")));
  EXPECT_FALSE(vxifstream().open("/"));
  EXPECT_EQ(VXOpenIStream(scratch_file("no such file").c_str()), nullptr);
  EXPECT_EQ(VXOpenOStream("/no such folder/file"), nullptr);
}

TEST(Stream, DamagedGzGivesWhatComesBefore) {
  const std::string content = numbered_bytes(), bytes = gz(content), half = bytes.substr(0, bytes.size() / 2);
  for (const auto& damaged : {half, half + std::string(64, '\xff') + bytes.substr(half.size() + 64)}) {
    write_bytes(scratch_file("damaged.gz"), damaged);
    vxifstream in(scratch_file("damaged.gz"));
    std::string text;
    in.read(text, ~0ul);
    EXPECT_LT(text.size(), content.size());
    EXPECT_EQ(text.substr(0, 1000), content.substr(0, 1000));
    EXPECT_TRUE(in.damaged());
  }
}

TEST(Stream, APipeIsReadWhole) {
  const std::string name = scratch_file("pipe");
  ASSERT_EQ(mkfifo(name.c_str(), 0600), 0);
  std::thread writer([&] { write_bytes(name, gz(numbered_bytes())); });
  vxifstream in(name);
  writer.join();
  EXPECT_TRUE(in.seek(299992));
  std::string line;
  EXPECT_TRUE(in.getline(line));
  EXPECT_EQ(line, "0037499");
}

TEST(Stream, WrittenIsReadBack) {
  const std::string content = numbered_bytes();
  for (const char* name : {"written", "written.gz"}) {
    vxofstream out(scratch_file(name));
    out << "title " << std::string("two") << vxendl;
    out.write(content.data(), content.size());
    EXPECT_TRUE(out.close());
    vxifstream in(scratch_file(name));
    std::string text;
    in.read(text, ~0ul);
    EXPECT_TRUE(text == "title two\n" + content) << name;
  }
  EXPECT_EQ(read_bytes(scratch_file("written.gz")).substr(0, 2), "\x1f\x8b");
  vxosstream memory;
  memory << "a" << vxendl;
  memory.close();
  EXPECT_EQ(memory.str(), "a\n");
}

TEST(Stream, AFullDiscIsReported) {
  for (const unsigned long n : {10ul, 1000000ul}) {
    vxofstream out("/dev/full");
    ASSERT_TRUE(out);
    out.write(std::string(n, 'x').data(), n);
    EXPECT_FALSE(out.flush()) << n;
    EXPECT_TRUE(out.fail());
    EXPECT_FALSE(out.close());
  }
  vxofstream never;
  never << "x";
  EXPECT_TRUE(never.fail());
}

TEST(ReplaceFile, TheOldFileStaysUntilTheNewOneIsWhole) {
  const std::filesystem::path folder = scratch_file("replaced");
  std::filesystem::create_directory(folder);
  const std::string old = folder / "old.gz", absent = folder / "absent";
  write_bytes(old, "old");
  for (const std::string& file : {old, absent})
    EXPECT_FALSE(VXCore::VXReplaceFile(file, [](vxostream& out) { return (out << "new").fail(); }));
  EXPECT_THROW(VXCore::VXReplaceFile(old, [](vxostream&) -> bool { throw 1; }), int);
  EXPECT_EQ(read_bytes(old), "old");
  // Two at a time in one folder, the one compressed.
  EXPECT_TRUE(VXCore::VXReplaceFile(absent, [&](vxostream& out) {
    return VXCore::VXReplaceFile(old, [](vxostream& inner) { return !(inner << "new").fail(); }) &&
           !(out << "newer").fail();
  }));
  EXPECT_EQ(read_bytes(absent), "newer");
  EXPECT_EQ(read_bytes(old), gz("new"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2)
      << "nothing else is left behind";
}

// The first static object of this program reports while it is being made.
struct EarlyReporter {
  EarlyReporter() { VXCore::VXThrow.Debug("hidden"), vxerr.flush(); }
  bool works = !vxerr.fail() && !vxout.fail();
};
static const EarlyReporter early __attribute__((init_priority(150)));

TEST(Stream, StandardStreamsServeStaticInitialisers) { EXPECT_TRUE(early.works); }
