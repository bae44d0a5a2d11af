#include "dll/ini/ini.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <filesystem>
#include <random>
#include <string>
#include <utility>

#include "dll/base/text.h"
#include "dll/ini/inifile.h"
#include "dll/ini/inireplace.h"
#include "tools/files.h"
#include "tools/scope.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

class Ini : public testing::Test {
 protected:
  ~Ini() override { IniCloseAll(); }

  std::string Path(const std::string& name = "a.ini") { return scratch_.Path() + "/" + name; }
  std::string Make(const std::string& text, const std::string& name = "a.ini") {
    return tool::WriteFile(Path(name), text), Path(name);
  }
  std::string Contents(const std::string& name = "a.ini") { return tool::ReadFile(Path(name)); }
  std::ptrdiff_t FileCount() { return std::distance(fs::directory_iterator(scratch_.Path()), {}); }

  tool::ScratchDirectory scratch_;
};

// A plain rendering of the rules on a text in memory: pieces of at most 1023 bytes, and what the walk finds in them.
TEST_F(Ini, WalksFilesLargerThanABlock) {
  std::mt19937 random(1);
  for (unsigned round = 0; round < 30; ++round) {
    const std::string alphabet =
        std::array{"[]=AB\n;"s, "[[]=" + std::string(60, 'A'), "[]=A\n" + std::string(90, 'A')}[round % 3U];
    std::string text = ".";
    while (text.size() < 150000) {
      if (random() % 300 == 0) text.append(random() % 3000, alphabet[random() % alphabet.size()]);
      text += alphabet[random() % alphabet.size()];
    }
    std::string expected;
    bool inside = true;
    for (size_t at = 0, size; at < text.size(); at += size) {
      size = std::min<size_t>(std::min(text.find('\n', at), text.size() - 1) - at + 1, 1023);
      const std::string piece = text.substr(at, size);
      const size_t bracket = piece.find(']');
      if (piece[0] == '[') inside = bracket != std::string::npos;
      if (piece[0] != '[' && inside) expected += piece;
      if (piece[0] == '[' && inside) expected += "<" + piece.substr(1, bracket - 1) + ">";
    }
    const int hdl = IniOpen(Make(text).c_str(), "");
    std::array<char, INI_TEXT_SIZE> buf;
    std::string found;
    do {
      if (!found.empty()) found += "<"s + buf.data() + ">";
      while (IniNextLine(hdl, buf.data(), INI_TEXT_SIZE) == INI_INSIDE) found += buf.data();
    } while (IniNextSection(hdl, buf.data(), INI_TEXT_SIZE) == INI_INSIDE);
    EXPECT_TRUE(found == expected) << "round " << round;
    IniClose(hdl);
  }
}

TEST_F(Ini, RewritesInPlaceOfTheOldFile) {
  const mode_t mask = umask(027);
  EXPECT_EQ(IniSetString("S", "K", "V", Path("new.ini").c_str()), 1);
  umask(mask);
  EXPECT_EQ(fs::status(Path("new.ini")).permissions(), fs::perms{0640});

  fs::create_directory(Path("sub"));
  Make("K=1\n", "sub/real.ini");
  const bool may_give_away = chown(Path("sub/real.ini").c_str(), 12, 34) == 0;  // takes the set-user-id bit away
  ASSERT_EQ(chmod(Path("sub/real.ini").c_str(), 04646), 0);
  fs::create_symlink("sub/hop.ini", Path("link.ini"));
  fs::create_symlink(Path("sub/real.ini"), Path("sub/hop.ini"));
  fs::create_symlink("sub/later.ini", Path("dangling.ini"));
  EXPECT_EQ(IniSetString("", "K", "2", Path("link.ini").c_str()), 1);
  EXPECT_EQ(IniSetString("", "K", "3", Path("dangling.ini").c_str()), 1);
  EXPECT_TRUE(fs::is_symlink(Path("link.ini")) && fs::is_symlink(Path("sub/hop.ini")));
  EXPECT_EQ(Contents("sub/real.ini") + Contents("sub/later.ini"), "K=2\nK=3\n");

  struct stat info;
  ASSERT_EQ(stat(Path("sub/real.ini").c_str(), &info), 0);
  EXPECT_TRUE((info.st_mode & 07777) == 0646 && (!may_give_away || (info.st_uid == 12 && info.st_gid == 34)));
}

// Others that cannot be opened are in the call scripts.
TEST_F(Ini, RefusesLoopsAndPipesWithoutWaiting) {
  fs::create_symlink("loop.ini", Path("loop.ini"));
  mkfifo(Path("pipe").c_str(), 0600);
  for (const auto& [name, error] : {std::pair("loop.ini", ELOOP), {"pipe", ENODEV}}) {
    EXPECT_EQ(IniOpen(Path(name).c_str(), "S"), -1) << name;
    EXPECT_EQ(errno, error) << name;
    EXPECT_EQ(IniSetString("S", "K", "V", Path(name).c_str()), 0) << name;
  }
  EXPECT_EQ(FileCount(), 2);
}

// An i is an I in Turkish too, and bytes beyond ASCII are the letters of the language.
TEST_F(Ini, ReadsNamesInTheLanguage) {
  ASSERT_NE(std::setlocale(LC_CTYPE, "tr_TR"), nullptr);
  FixNameLetters();
  const std::string path = Make("[i\xe4]\nifi=7\n");
  std::array<char, 9> section, entry, value;
  const int hdl = IniOpen(path.c_str(), "");
  EXPECT_EQ(IniNextSection(hdl, section.data(), 9), INI_INSIDE);
  EXPECT_EQ(IniNextEntry(hdl, entry.data(), 9, value.data(), 9), INI_INSIDE);
  EXPECT_EQ(section.data() + "."s + entry.data(), "I\xc4.IFI");
  EXPECT_EQ(IniGetInt("I\xc4", "IFI", 5, path.c_str()), 7);
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(IniGetInt("I\xc4", "IFI", 5, path.c_str()), 7) << "the letters of names stay";
  FixNameLetters();
}

TEST_F(Ini, NeverTakesAShortenedFileForTheWhole) {
  Make("K=1\n");
  for (const off_t end : {off_t{5}, FileReplacement::END_OF_FILE, off_t{4}}) {
    IniFile old;
    ASSERT_EQ(old.Open(Path().c_str()), 0);
    FileReplacement out(Path(), old.Descriptor());
    out.Copy(0, end);
    EXPECT_EQ(out.Commit(), end != 5) << end;
  }
  EXPECT_TRUE(Contents() == "K=1\n" && FileCount() == 1);
}

TEST_F(Ini, KeepsTheOldFileWhereFilesMayNotGrow) {
  const std::string old = "[S]\nx=" + std::string(300000, 'x') + "\nK=1\n", path = Make(old);
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  for (const rlim_t bytes : {0U, 1000U, 65536U, 300000U}) {
    const struct rlimit small = {bytes, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_EQ(IniSetString("S", "K", "V", path.c_str()), 0) << bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_TRUE(Contents() == old && FileCount() == 1) << bytes;
  }
}

}  // namespace
}  // namespace vorlix::test
