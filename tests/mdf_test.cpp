#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>

#include "dll/server/functions.h"
#include "dll/shared/ini.h"
#include "hostif/dllif.h"
#include "tests/support/callables.h"
#include "tests/support/heap.h"

namespace vorlix::test {
namespace {

const std::string LONG(61, 'l');
const std::string MODULES =
    "[KUNDEN]\nTITEL=Stamm\nMODUL=k\nENTRY=1\nDIALOG=a\nDIALOG=b\n[all]\nfunctions=f\nFunktionen=g\ndescription=d\n"
    "TITEL=t\nTitle=no\nTEXT=x\nDSETS=x\nREV=\nrev=2\n[entry]\nENTRY=12\nMODUL=m\n[long]\nTITEL=" +
    LONG + "\n[sum]\nGRUPPE=123456789\nGRUPPE=12345678\nGRUPPE=\n[fits]\nGRUPPE=123456789\nGRUPPE=12345678\n";
const std::string KUNDEN = "0 0 XMdf_title~0~5~StammXMdf_mod~0~1~kNMdf_entry~0~1~1XMdf_dlg~0~3~a,b$";

class ModelDefinitions : public testing::Test {
 protected:
  ModelDefinitions() {
    close(mkstemp(path_.data()));
    Write(MODULES);
    Get("no such section", "", 0);
  }
  ~ModelDefinitions() override { Write(""); }

  /// Makes the file, or removes it when the text is empty.
  void Write(const std::string& text) {
    std::remove(path_.c_str());
    if (!text.empty()) std::ofstream(path_) << text;
  }

  /// The result code, `rc_p`, and the XBUF, which is "old" before; only its length when it did not fit.
  std::string Get(const std::string& section, const std::string& filter, int32_t room = 300) {
    TestString xbuf(room, room < 3 ? "" : "old");
    int32_t rc = -99;
    const int32_t code = mdf_Get(path_.c_str(), section.c_str(), filter.c_str(), xbuf, IntByReference(&rc));
    EXPECT_TRUE(xbuf.GuardsIntact()) << section;
    const std::string shown = code == RESULT_OK ? std::string(xbuf.View()) : std::to_string(xbuf.Get().len);
    return std::to_string(code) + " " + std::to_string(rc) + " " + shown;
  }

  std::string path_ = "/tmp/vorlix_mdf_XXXXXX";
};

// clang-format off
TEST_F(ModelDefinitions, AreReadAsXbufs) {
  const struct { std::string section, filter, outcome; } ROWS[] = {
      {"KUNDEN", "*", KUNDEN},                          {"kunden", "", KUNDEN},
      {"kunden", "titel", "0 0 $"},                     {"kunden", ",", "0 0 $"},
      {"Kunden", "mod,dlg", "0 0 XMdf_mod~0~1~kXMdf_dlg~0~3~a,b$"},
      {"kunden", "MDF_Dlg,,xyz,mod,", "0 0 XMdf_mod~0~1~kXMdf_dlg~0~3~a,b$"},
      {"kunden", "mod,Mdf_,dlg", "0 0 XMdf_mod~0~1~k$"}, {"kunden", "*,mod", "0 0 XMdf_mod~0~1~k$"},
      {"all", "title,caps", "0 0 XMdf_title~0~1~tXMdf_title~0~1~dXMdf_caps~0~1~gXMdf_caps~0~1~f$"},
      {"all", "rev,text,dsets", "0 0 XMdf_rev~0~2~,2$"}, {"fits", "", "0 0 XMdf_grp~0~18~123456789,12345678$"},
      {"entry", "mod", "0 -1 old"},                     {"long", "", "0 -1 old"},
      {"sum", "", "0 -1 old"},                          {"nosuch", "", "0 0 $"}, {"", "", "0 0 $"},
  };
  for (const auto& [section, filter, outcome] : ROWS) EXPECT_EQ(Get(section, filter), outcome) << section << filter;
}

TEST_F(ModelDefinitions, AreKeptByTheNameOfTheSection) {
  const std::string none;
  const std::string same = "(as it is)";
  const std::string entry = "0 0 NMdf_entry~0~1~1$";
  const struct { std::string file, section, filter; int32_t room; std::string outcome; } ROWS[] = {
      {MODULES, "kunden", "", 300, KUNDEN},   {none, "KUNDEN", "entry", 17, entry},
      // No room for the "$", none for an item, another section, and a value that is too long: all of them drop it.
      {same, "kunden", "entry", 16, "18 0 3"}, {same, "kunden", "", 300, "0 -2 old"},
      {MODULES, "kunden", "", 300, KUNDEN},   {none, "kunden", "entry", 3, "18 0 3"}, {same, "kunden", "", 9, "0 -2 old"},
      {MODULES, "kunden", "", 300, KUNDEN},   {none, "fits", "", 300, "0 -2 old"},   {same, "kunden", "", 9, "0 -2 old"},
      {MODULES, "kunden", "", 300, KUNDEN},   {same, "sum", "", 300, "0 -1 old"},    {none, "kunden", "", 9, "0 -2 old"},
      // A section that its file does not have is kept too.
      {"[x]\n", "kunden", "", 300, "0 0 $"}, {MODULES, "Kunden", "", 1, "0 0 $"},
      {same, "kunden", "", 0, "18 0 0"},      {same, "kunden", "", 300, KUNDEN},
  };
  for (const auto& [file, section, filter, room, outcome] : ROWS) {
    if (file != same) Write(file);
    EXPECT_EQ(Get(section, filter, room), outcome) << &outcome - &ROWS[0].outcome;
  }
}

TEST_F(ModelDefinitions, ReportWhatTheyPassOver) {
  const std::string ignored = "mdf_Get: do_filter: ignored: ";
  const struct { std::string section, filter, report; } ROWS[] = {
      {"all", "mod,x,,Mdf_a,%s", ignored + "x\n" + ignored + "\n" + ignored + "a\n" + ignored + "%s\n"
                                 "mdf_Get: do_read: ignored: TITLE (no)\n"},
      {"all", "mod,Mdf_,x", ""},
      {"sum", "mod,", "mdf_Get: GRUPPE exceeds limit of 18 (len = 19)\n"},
      {"entry", "", "mdf_Get: ENTRY exceeds limit of 1 (len = 2)\n"},
  };
  for (const auto& [section, filter, report] : ROWS) {
    testing::internal::CaptureStderr();
    SetCallTraceLevel(1);
    Get(section, filter);
    SetCallTraceLevel(0);
    Get(section, filter);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "mdf_Get: section = " + section + "\n" + report);
  }
}
// clang-format on

TEST_F(ModelDefinitions, GiveTheirHandleBack) {
  for (int i = 0; i < 2 * INI_HANDLE_COUNT; ++i) Get(i % 2 != 0 ? "entry" : "fits", "");
  for (int i = 0; i < INI_HANDLE_COUNT; ++i) EXPECT_EQ(IniOpen(path_.c_str(), ""), i);
  EXPECT_EQ(Get("kunden", ""), "0 " + std::to_string(-ENOSPC) + " old");
  IniCloseAll();
  EXPECT_EQ(Get("kunden", ""), KUNDEN);
}

TEST_F(ModelDefinitions, SayWhenThereIsNoMemory) {
  Write("[kunden]\nBIB=" + LONG + "\nBIB=" + LONG + "\n");
  const std::string whole = "0 0 XMdf_bib~0~123~" + LONG + "," + LONG + "$";
  bool hit = true;
  for (int nth = 0; hit; ++nth) {
    ASSERT_EQ(Get("entry", ""), "0 0 $");
    TestString xbuf(300);
    int32_t rc = -99;
    {
      const FailAllocation one(nth);
      errno = ENOENT;  // of some earlier call
      EXPECT_EQ(mdf_Get(path_.c_str(), "kunden", "", xbuf, IntByReference(&rc)), RESULT_OK);
      hit = one.Hit();
    }
    EXPECT_EQ(rc, hit ? -1 : 0) << nth;
    EXPECT_EQ(Get("kunden", ""), whole) << nth;
    EXPECT_TRUE(hit || nth >= 3);
  }
}

}  // namespace
}  // namespace vorlix::test
