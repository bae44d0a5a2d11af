#include "dll/shared/ini.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <clocale>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>

#include "dll/server/functions.h"
#include "dll/shared/inireplace.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;

class Ini : public testing::Test {
 protected:
  Ini() {
    std::string name = "/tmp/vorlix-ini-XXXXXX";
    dir_ = mkdtemp(name.data());
  }
  ~Ini() override {
    IniCloseAll();
    fs::remove_all(dir_);
  }

  std::string Path(const std::string& name = "a.ini") const { return (dir_ / name).string(); }
  std::string Make(const std::string& text, const std::string& name = "a.ini") const {
    std::ofstream(Path(name), std::ios::binary) << text;
    return Path(name);
  }
  std::string Contents(const std::string& name = "a.ini") const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::ptrdiff_t FileCount() const { return std::distance(fs::directory_iterator(dir_), fs::directory_iterator()); }

  fs::path dir_;
};

int Open(const std::string& path, const char* section = "") {
  int32_t hdl = 99;
  ini_Open(path.c_str(), section, IntByReference(&hdl));
  return hdl;
}

int Close(int hdl) {
  int32_t rc = 99;
  ini_Close(hdl, IntByReference(&rc));
  return rc;
}

std::string GetString(const std::string& path, const char* section, const char* entry, int max = 40) {
  TestString value(max, max < 3 ? "" : "old");
  EXPECT_EQ(ini_GetString(section, entry, "DEF", path.c_str(), value), 0);
  EXPECT_TRUE(value.GuardsIntact());
  return std::string(value.View());
}

/// Makes the calls that the letters name (l line, s section, e entry, /name/ find) with Strings of `max` characters and
/// gives what they answered: "0:text", or the state alone.
std::string Walk(int hdl, const std::string& calls, int max = 40) {
  std::string told;
  for (size_t i = 0; i < calls.size(); ++i) {
    TestString a(max), b(max);
    int32_t eof = 99;
    const IntByReference eof_ref(&eof);
    if (calls[i] == 'l') ini_NextLine(hdl, a, eof_ref);
    if (calls[i] == 's') ini_NextSection(hdl, a, eof_ref);
    if (calls[i] == 'e') ini_NextEntry(hdl, a, b, eof_ref);
    if (calls[i] == '/') {
      const size_t end = calls.find('/', i + 1);
      ini_FindSection(hdl, calls.substr(i + 1, end - i - 1).c_str(), eof_ref);
      i = end;
    }
    EXPECT_TRUE(a.GuardsIntact() && b.GuardsIntact());
    EXPECT_TRUE(eof == 0 || (a.View().empty() && b.View().empty()));
    told += (told.empty() ? "" : " ") + std::to_string(eof);
    if (eof == 0 && calls[i] != '/') told += ":" + std::string(a.View());
    if (eof == 0 && calls[i] == 'e') told += "=" + std::string(b.View());
  }
  return told;
}

TEST_F(Ini, Walks) {
  const std::string long_name(1100, 'x');
  const struct {
    std::string text, section, calls, told;
    int max = 40;
  } ROWS[] = {
      {"u=0\n[A]\nk=v\n;c=1\nno\nm = w \n[b]\nx=1", "", "esesesees", "0:U=0 0:A 0:K=v 0:B 0:X=1 1 1 1 1"},
      {"[A]\nk=v\nm=w\n[B]\nx=1\n", "a", "eeelse", "0:K=v 0:M=w 1 1 0:B 0:X=1"},
      {"[A]\n#c\r\n k\n[B", "A", "lllle", "0:#c\r\n 0: k\n 2 2 1"},
      {"[A]\nk=v\n[nothing\nm=w\n[B]\n", "A", "eeses", "0:K=v 1 0:B 1 1"},
      {"[A]\nk=v", "C", "le/A/e//ses/c/e", "1 1 0 0:K=v 0 0:A 0:K=v 1 1 1"},
      {" [A]\n[]\nk=v\n[ b\t]x\ny=1\n", "", "sees", "0: 0:K=v 1 0:B"},
      {"", "", "lse/a///", "1 1 1 1 0"},
      {"[section]\nlonger=value\n", "", "see", "0:SEC 0:LON=val 1", 4},
      {"[A]\nlonger\nx\n", "A", "llll", "0:lon 0:ger 0:\n 0:x\n", 4},
      {"[A]\nlonger\nx\n", "", "slll", "0: 0: 0: 1", 1},
      {"[A]\nk=v\n", "", "sle/A/", "-1 -1 -1 0", 0},
      {"[A\0]\nk\0x=v\0w\n"s, "", "se", "0:A 0:K=v"},
      {"[" + long_name + "]\n[B]\n" + long_name + "=v\nk=v\n", "", "seee",
       "0:B 0:" + std::string(77, 'X') + "=v 0:K=v 1", 1200},
  };
  for (const auto& row : ROWS) {
    const int hdl = Open(Make(row.text), row.section.c_str());
    EXPECT_EQ(Walk(hdl, row.calls, row.max), row.told) << row.text << " / " << row.calls;
    EXPECT_EQ(IniClose(hdl), 0);
  }
}

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
    const int hdl = Open(Make(text));
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

TEST_F(Ini, ReadsValues) {
  const struct {
    std::string line, value;
    int32_t number = 0;
    int max = 40;
  } ROWS[] = {
      {"K=12abc", "12abc", 12},
      {"k\t = \t -7 b   ; note", "-7 b", -7},
      {"K= 'a b ; c'", "a b "},
      {"K=\" 2 \" y", " 2 ", 2},
      {"K='it\"s  \r", "it\"s  "},
      {"K=#b", "", 5},
      {"K=''", "", 5},
      {"K=2147483648\nK=1", "2147483648", INT_MAX},
      {"K=-99999999999999999999", "-99999999999999999999", INT_MIN},
      {"K=\xe4\xff\xa0z", "\xe4\xff\xa0z"},
      {"K=12345", "12345", 12345, 5},
      {"K=12345", "1234", 12345, 4},
      {"K=1", "", 1, 0},
      {"K=" + std::string(1021, 'x') + "y\n", std::string(1021, 'x'), 0, 2000},
      {"L=1", "DEF", 5},
      {"L=1", "DE", 5, 2},
      {"K\n;K=1\n#K=1\nK L=1", "DEF", 5},
      {"[B\nK=1", "DEF", 5},
      {"\n[s]\nK=1", "DEF", 5},
  };
  for (const auto& row : ROWS) {
    const std::string path = Make("K=unnamed\n [S]\n[S\nK=x\n[ s ] K=z\n" + row.line + "\n[T]\nK=t\n");
    EXPECT_EQ(GetString(path, "S", "k", row.max), row.value) << row.line;
    EXPECT_EQ(GetString(path, "", "K") + GetString(path, "X", "K"), "unnamedDEF");
    int32_t number = 99;
    ini_GetInt("S", "K", 5, path.c_str(), IntByReference(&number));
    EXPECT_EQ(number, row.number) << row.line;
  }
}

TEST_F(Ini, Rewrites) {
  const std::string wide(2500, 'w');
  const struct {
    std::string before, section, entry, after;
  } ROWS[] = {
      {"[S]\nK=1\nK=2\n", "s", "k", "[S]\nk=V\nK=2\n"},
      {"[A]\nx=1\n", "", "K", "K=V\n[A]\nx=1\n"},
      {"x=1\n k =2\n[A]\nK=3\n", "", "K", "x=1\nK=V\n[A]\nK=3\n"},
      {"", "S", "K", "\n[S]\nK=V\n"},
      {"[A]\nk=1", "S", "K", "[A]\nk=1\n[S]\nK=V\n"},
      {"[S]", "S", "K", "[S]\nK=V\n"},
      {"[S]\r\n;K=1\r\nK\r\n#\r\n[T\r\nK=2\r\n", "S", "K", "[S]\r\n;K=1\r\nK\r\n#\r\nK=V\n[T\r\nK=2\r\n"},
      {"[S]\r\na=1\r\nk=1 ;note\r\nb=2", "S", "K", "[S]\r\na=1\r\nK=V\nb=2"},
      {"[T]\n[S]\nx=1\n\n[S]\nK=1\n", "S", "K", "[T]\n[S]\nx=1\n\nK=V\n[S]\nK=1\n"},
      {" [S]\nK=1\n[S\nK=1\n", "S", "K", " [S]\nK=1\n[S\nK=1\n\n[S]\nK=V\n"},
      {wide + "\n[S]\nw=" + wide + "\nK=1\n" + wide, "S", "K", wide + "\n[S]\nw=" + wide + "\nK=V\n" + wide},
      {"a\0b\n[S]\nx\0=1\nK=\0\n\0"s, "S", "K", "a\0b\n[S]\nx\0=1\nK=V\n\0"s},
      {std::string(200000, '\n') + "[S]\nK=1\n" + std::string(200000, '\n'), "S", "K",
       std::string(200000, '\n') + "[S]\nK=V\n" + std::string(200000, '\n')},
  };
  for (const auto& row : ROWS) {
    const std::string path = Make(row.before);
    EXPECT_EQ(ini_SetString(row.section.c_str(), row.entry.c_str(), "V", path.c_str()), 0);
    EXPECT_TRUE(Contents() == row.after) << row.before.substr(0, 99) << " became " << Contents().substr(0, 99);
    EXPECT_EQ(GetString(path, row.section.c_str(), row.entry.c_str()), "V") << row.before.substr(0, 99);
  }
  EXPECT_EQ(FileCount(), 1);
}

TEST_F(Ini, RewritesInPlaceOfTheOldFile) {
  const mode_t mask = umask(027);
  EXPECT_EQ(IniSetString("S", "K", "V", Path("new.ini").c_str()), 1);
  umask(mask);
  EXPECT_EQ(Contents("new.ini"), "[S]\nK=V\n");

  fs::create_directory(Path("sub"));
  Make("K=1\n", "sub/real.ini");
  ASSERT_EQ(chmod(Path("sub/real.ini").c_str(), 04646), 0);
  const bool may_give_away = chown(Path("sub/real.ini").c_str(), 12, 34) == 0;
  fs::create_symlink("sub/hop.ini", Path("link.ini"));
  fs::create_symlink(Path("sub/real.ini"), Path("sub/hop.ini"));
  fs::create_symlink("sub/later.ini", Path("dangling.ini"));
  EXPECT_EQ(IniSetString("", "K", "2", Path("link.ini").c_str()), 1);
  EXPECT_EQ(IniSetString("", "K", "3", Path("dangling.ini").c_str()), 1);
  EXPECT_TRUE(fs::is_symlink(Path("link.ini")) && fs::is_symlink(Path("sub/hop.ini")));
  EXPECT_EQ(Contents("sub/real.ini") + Contents("sub/later.ini"), "K=2\nK=3\n");

  struct stat info;
  ASSERT_EQ(stat(Path("new.ini").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640U);
  ASSERT_EQ(stat(Path("sub/real.ini").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0646U);
  EXPECT_TRUE(!may_give_away || (info.st_uid == 12 && info.st_gid == 34));
}

TEST_F(Ini, ReportsFilesThatCannotBeOpened) {
  fs::create_symlink("loop.ini", Path("loop.ini"));
  mkfifo(Path("pipe").c_str(), 0600);
  Make("");
  const struct {
    std::string path;
    int error;
  } ROWS[] = {{Path("none.ini"), ENOENT},
              {dir_.string(), EISDIR},
              {Path("a.ini/x"), ENOTDIR},
              {Path("loop.ini"), ELOOP},
              {Path("pipe"), ENODEV},
              {"/dev/zero", ENODEV},
              {std::string(5000, 'x'), ENAMETOOLONG}};
  for (const auto& row : ROWS) {
    EXPECT_EQ(Open(row.path, "S"), -row.error) << row.path;
    EXPECT_EQ(GetString(row.path, "S", "K"), "DEF") << row.path;
    EXPECT_TRUE(row.error == ENOENT || IniSetString("S", "K", "V", row.path.c_str()) == 0) << row.path;
  }
  for (const std::string& path : {"/proc/version"s, Path("none/a.ini"), Path("none/"), ""s})
    EXPECT_EQ(IniSetString("S", "K", "V", path.c_str()), 0) << path << ": no file can be made there";
  EXPECT_EQ(FileCount(), 3);
}

TEST_F(Ini, KeepsAsciiNamesInEveryLanguage) {
  const std::string path = Make("[i\xe4]\nifi=v\n");
  for (const char* const language : {"de_DE", "tr_TR"}) {
    ASSERT_NE(std::setlocale(LC_CTYPE, language), nullptr) << language;
    EXPECT_EQ(Walk(Open(path, "I\xc4"), "e/i\xe4/e//s"), "0:IFI=v 0 0:IFI=v 0 0:I\xc4") << language;
    EXPECT_EQ(GetString(path, "I\xc4", "IFI"), "v") << language;
  }
  std::setlocale(LC_CTYPE, "C");
}

TEST_F(Ini, HandsOutThreeHandles) {
  const std::string path = Make("[S]\nK=v\n");
  EXPECT_EQ(Close(0), -1) << "before the first open";
  EXPECT_EQ(Open("none.ini"), -ENOENT);
  EXPECT_EQ(Close(0), 0) << "nothing open";
  for (int i = 0; i < INI_HANDLE_COUNT; ++i) EXPECT_EQ(Open(path, "S"), i);
  EXPECT_EQ(Open(path), -ENOSPC);
  EXPECT_EQ(GetString(path, "S", "K"), "v");
  EXPECT_EQ(Close(1), 0);
  EXPECT_EQ(Walk(1, "lse/S/"), "-1 -1 -1 -1");
  EXPECT_EQ(Open(path, "none"), 1);
  EXPECT_EQ(Walk(0, "e") + Walk(1, "e") + Walk(2, "e"), "0:K=v10:K=v") << "each walks by itself";
  for (const int hdl : {-1, 3, INT_MAX, INT_MIN})
    EXPECT_TRUE(Close(hdl) == -1 && Walk(hdl, "lse/S/") == "-1 -1 -1 -1") << hdl;
  EXPECT_EQ(ini_CloseAll(), 0);
  EXPECT_EQ(Close(0), -1);
}

TEST_F(Ini, NeverTakesAShortenedFileForTheWhole) {
  Make("K=1\n");
  const struct {
    off_t end;
    bool done;
  } ROWS[] = {{5, false}, {FileReplacement::END_OF_FILE, true}, {4, true}};
  for (const auto& row : ROWS) {
    const int old = open(Path().c_str(), O_RDONLY | O_CLOEXEC);
    {
      FileReplacement out(Path(), old);
      out.Copy(0, row.end);
      EXPECT_EQ(out.Commit(), row.done) << row.end;
    }
    close(old);
    EXPECT_TRUE(Contents() == "K=1\n" && FileCount() == 1) << row.end;
  }
}

TEST_F(Ini, KeepsTheOldFileWhenARewriteFails) {
  const std::string old = "[S]\nx=" + std::string(300000, 'x') + "\nK=1\n";
  const std::string path = Make(old);
  struct rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  for (const rlim_t bytes : {0U, 1000U, 65536U, 300000U}) {
    const struct rlimit small = {bytes, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const int result = IniSetString("S", "K", "V", path.c_str());
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(result, 0) << bytes;
    EXPECT_TRUE(Contents() == old && FileCount() == 1) << bytes;
  }
  for (int n = 0, result = 0; result == 0; ++n) {
    const FailAllocation fail(n, true);
    result = IniSetString("S", "K", "V", path.c_str());
    ASSERT_EQ(result, fail.Hit() ? 0 : 1) << n;
  }
  EXPECT_TRUE(FileCount() == 1 && GetString(path, "S", "K") == "V");
}

// A process that is told to end while it rewrites, at many different moments.
TEST_F(Ini, LeavesNothingHalfDoneWhenTheProcessEnds) {
  std::string bulk;
  while (bulk.size() < 1000000) bulk += "other=1\n";
  const std::string path = Make(bulk + "K=a\n");
  for (int round = 0; round < 40; ++round) {
    const pid_t child = fork();
    if (child == 0)
      for (bool a = false;; a = !a) IniSetString("", "K", a ? "a" : "b", path.c_str());
    usleep(static_cast<useconds_t>(1000 + 397 * round));
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    const std::string now = Contents();
    ASSERT_TRUE(now == bulk + "K=a\n" || now == bulk + "K=b\n") << "round " << round;
    ASSERT_EQ(FileCount(), 1) << "round " << round;
  }
}

TEST_F(Ini, TracesCallsAndResults) {
  const std::string path = Make("[S]\nk=%s%n\n");
  const TraceCapture trace("I3");
  Walk(Open(path, "S"), "es");
  GetString(path, "S", "K");
  const std::vector<std::string> expected = {
      "I3: ini_Open(fname=\"" + path + "\",section=\"S\")",
      "I3: ini_Open: hdl = 0",
      "I3: ini_NextEntry(hdl=0)",
      "I3: ini_NextEntry: item = \"K\", value = \"%s%n\"",
      "I3: ini_NextEntry: eof = 0",
      "I3: ini_NextSection(hdl=0)",
      "I3: ini_NextSection: eof = 1",
      "I3: ini_GetString(section=\"S\",entry=\"K\",def=\"DEF\",fname=\"" + path + "\")",
      "I3: ini_GetString: \"%s%n\"",
  };
  EXPECT_EQ(trace.Lines(), expected);
}

}  // namespace
}  // namespace vorlix::test
