// The C library against the real server: everything that can be asked for, and every way to ask wrongly.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "dll/wire/functable.h"
#include "host/c/vorlix.h"
#include "host/decimal.h"
#include "tests/support/scripts.h"

namespace vorlix {
namespace {

using ServerHandle = std::unique_ptr<vorlix_server, decltype(&vorlix_server_free)>;
using CallHandle = std::unique_ptr<vorlix_call, decltype(&vorlix_call_free)>;

ServerHandle Start(size_t segment_size = 0, int32_t timeout_ms = 0) {
  const char* const environment[] = {"LANG=C", "ZENDLANG", "LC_COLLATE", "LC_CTYPE", nullptr};
  const vorlix_options options = {sizeof options, VORLIX_SERVER, environment, segment_size, timeout_ms, 1};
  vorlix_server* server = nullptr;
  EXPECT_EQ(vorlix_start(&options, &server), VORLIX_OK) << vorlix_error_message();
  return {server, vorlix_server_free};
}

// A call with arguments, as vorlix_put takes them.
template <class... Values>
CallHandle Make(const ServerHandle& server, const char* function, const char* types = "", Values... values) {
  vorlix_call* call = nullptr;
  EXPECT_EQ(vorlix_call_new(server.get(), function, &call), VORLIX_OK) << vorlix_error_message();
  vorlix_put(call, types, values...);
  return {call, vorlix_call_free};
}

int32_t CodeOf(const CallHandle& call) {
  int32_t code = -1;
  EXPECT_EQ(vorlix_call_place(call.get(), &code), VORLIX_OK) << vorlix_error_message();
  return code;
}

std::string Get(const ServerHandle& server, const char* name) {
  const CallHandle call = Make(server, "v_Get", "tT", name, "", 100);
  return CodeOf(call) == 0 ? vorlix_get_text(call.get(), 1, nullptr) : "refused";
}

// A call of the C++ library through the C library.
class ThroughC {
 public:
  explicit ThroughC(vorlix_call* call) : call_(call) {}

  void Put(const host::Arg& arg) {
    if (arg.Class() == HOST_INTEGER) {
      const auto& values = std::get<0>(arg.values);
      vorlix_put_ints(call_, values.data(), values.size(), arg.by_ref);
    } else if (arg.Class() == HOST_REAL) {
      std::vector<std::string> texts;
      for (const HostReal& real : std::get<1>(arg.values)) texts.push_back(host::FormatDecimal(real));
      vorlix_put_reals(call_, Pointers(texts).data(), texts.size(), arg.by_ref);
    } else {
      const auto& texts = std::get<2>(arg.values);
      std::vector<size_t> lengths;
      for (const std::string& text : texts) lengths.push_back(text.size());
      vorlix_put_texts(call_, Pointers(texts).data(), lengths.data(), texts.size(), arg.capacity, arg.by_ref);
    }
  }

  host::Arg Take(size_t index, const host::Arg& sent) {
    host::Arg arg = sent;
    size_t count = 0;
    EXPECT_EQ(vorlix_get_count(call_, index, &count), VORLIX_OK);
    EXPECT_EQ(vorlix_get_returned(call_, index, &arg.by_ref), VORLIX_OK);
    std::visit([&](auto& values) { values.resize(count); }, arg.values);
    for (size_t k = 0; k < count; ++k) {
      size_t length = 0;
      if (arg.Class() == HOST_INTEGER) {
        vorlix_get_int_at(call_, index, k, &std::get<0>(arg.values)[k]);
      } else if (arg.Class() == HOST_REAL) {
        host::ParseDecimal(vorlix_get_real_at(call_, index, k), std::get<1>(arg.values)[k]);
      } else {
        const char* const text = vorlix_get_text_at(call_, index, k, &length);
        std::get<2>(arg.values)[k].assign(text, length);
      }
    }
    return arg;
  }

 private:
  static std::vector<const char*> Pointers(const std::vector<std::string>& texts) {
    std::vector<const char*> pointers;
    for (const std::string& text : texts) pointers.push_back(text.data());
    return pointers;
  }

  vorlix_call* call_;
};

TEST(CLibrary, PlaysTheScriptsOfTheOtherLibrary) {
  const ServerHandle server = Start();
  test::PlayScripts([&](std::string_view name, const std::vector<host::Arg>& args) {
    const CallHandle call = Make(server, std::string(name).c_str());
    ThroughC through(call.get());
    for (const host::Arg& arg : args) through.Put(arg);
    host::Result result{CodeOf(call), {}};
    for (size_t i = 0; i < args.size(); ++i) result.args.push_back(through.Take(i, args[i]));
    return result;
  });
}

TEST(CLibrary, TellsWhichArgumentWasRefused) {
  const ServerHandle server = Start();
  const std::tuple<CallHandle, int32_t, const char*> rows[] = {
      {Make(server, "fmt_Num", "diitT", 1.5, 10, 2, "", "", 80), 0, ""},
      {Make(server, "fmt_Num", "iiitT", 1, 10, 2, "", "", 80), 0, ""},
      {Make(server, "fmt_num"), 7, "no function is named fmt_num; there is fmt_Num"},
      {Make(server, "fmt_Nun"), 7, "no function is named fmt_Nun"},
      {Make(server, "fmt_Num", "dt", 1.5, "10"), 8, "plen of fmt_Num is a text where it takes an integer or a real"},
      {Make(server, "l_DeleteList", "D", 1.5), 8, "hdl of l_DeleteList is a real where it takes an integer"},
      {Make(server, "v_Get", "t", "a"), 9, "v_Get takes 2 arguments (name, value), not 1"},
      {Make(server, "l_DeleteAll", "ii", 1, 2), 9, "l_DeleteAll takes no arguments, not 2"},
      {Make(server, "dll_Revision", "T", "", 3), 18, "str of dll_Revision has room for only 3 bytes"},
      {Make(server, "dict_First", "t", "D01NONE"), 19, ""},
  };
  for (const auto& [call, code, fault] : rows) {
    const std::string before = vorlix_call_fault(call.get());
    EXPECT_EQ(CodeOf(call), code) << fault;
    EXPECT_STREQ(vorlix_call_fault(call.get()), fault);
    EXPECT_EQ(before, code >= 7 && code <= 9 ? fault : "") << "what the table alone tells";
  }
  for (const auto& [file, id, level] : {std::tuple("muster", "MUSTER", -1), {"kunden", "KUNDEN", 1}})
    EXPECT_EQ(CodeOf(Make(server, "dict_Open", "ttiI", id,
                          (VORLIX_EXAMPLES "/dict/" + std::string(file) + ".dic").c_str(), level, 0)),
              0);
  const CallHandle corrupt = Make(server, "dict_XbufFilterInit", "ttI", "D01KUNDE", "Xname~0~9~Meier$", 0);
  EXPECT_EQ(CodeOf(corrupt), 204);
  EXPECT_STREQ(vorlix_call_fault(corrupt.get()), "xbuf of dict_XbufFilterInit is no XBUF: value cut off at offset 19");
}

// A row is a wrong use, the status that it has to have, and what its message has to say.
struct BadUse {
  std::function<vorlix_status()> use;
  vorlix_status status;
  const char* message;
};

void Expect(const std::vector<BadUse>& rows) {
  for (const auto& [use, status, message] : rows) {
    EXPECT_EQ(use(), status) << message;
    EXPECT_NE(std::string_view(vorlix_error_message()).find(message), std::string_view::npos) << message << "\n"
                                                                                              << vorlix_error_message();
  }
}

// Functions that give a pointer give no status; this one stands for it.
vorlix_status Pointer(const void* pointer) { return pointer == nullptr ? VORLIX_BAD_USE : VORLIX_OK; }

TEST(CLibrary, RefusesBadUseInWords) {
  const ServerHandle server = Start(4096);
  const CallHandle answered = Make(server, "v_Get", "tT", "a", "", 100);
  EXPECT_EQ(CodeOf(answered), 0);
  const CallHandle unanswered = Make(server, "v_Get");
  vorlix_call* const call = answered.get();
  vorlix_options wrong_size = {1, nullptr, nullptr, 0, 0, 0};
  vorlix_options no_program = {sizeof no_program, "/nowhere/vorlix.dll", nullptr, 0, 0, 0};
  vorlix_options too_large = {sizeof too_large, VORLIX_SERVER, nullptr, size_t{1} << 60, 0, 0};
  vorlix_server* started = nullptr;
  vorlix_xbuf* xbuf = nullptr;
  int32_t number = 0;
  double real = 0;
  char* bytes = nullptr;
  bool flag = false;
  Expect({
      {[&] { return vorlix_start(nullptr, nullptr); }, VORLIX_BAD_USE, "the place for the server is NULL"},
      {[&] { return vorlix_start(&wrong_size, &started); }, VORLIX_BAD_USE, "size is 1, not "},
      {[&] { return vorlix_start(&no_program, &started); }, VORLIX_NO_SERVER, "cannot start /nowhere/vorlix.dll: No"},
      {[&] { return vorlix_start(&too_large, &started); }, VORLIX_SYSTEM, "no segment of "},
      {[&] { return vorlix_end(nullptr, nullptr, nullptr); }, VORLIX_BAD_USE, "the server is NULL"},
      {[&] { return vorlix_set_timeout(server.get(), -1); }, VORLIX_BAD_USE, "a time-out below 0"},
      {[&] { return vorlix_call_new(server.get(), nullptr, nullptr); }, VORLIX_BAD_USE, "the name of the function"},
      {[&] { return vorlix_call_place(nullptr, nullptr); }, VORLIX_BAD_USE, "the call is NULL"},
      {[&] { return vorlix_put_int(nullptr, 1); }, VORLIX_BAD_USE, "the call is NULL"},
      {[&] { return Pointer(vorlix_call_fault(nullptr)); }, VORLIX_BAD_USE, "the call is NULL"},
      {[&] { return vorlix_call_wait(call, 0, nullptr); }, VORLIX_BAD_USE, "the call was not started"},
      {[&] { return vorlix_get_int(call, 0, &number); }, VORLIX_BAD_VALUE, "argument 0 (counted from 0) is not an int"},
      {[&] { return vorlix_get_double(call, 1, &real); }, VORLIX_BAD_VALUE,
       "argument 1 (counted from 0) is not a real"},
      {[&] { return vorlix_get_int(call, 0, nullptr); }, VORLIX_BAD_USE, "the place for the value is NULL"},
      {[&] { return vorlix_get_returned(call, 2, &flag); }, VORLIX_BAD_USE,
       "argument 2 (counted from 0): the call has"},
      {[&] { return Pointer(vorlix_get_text_at(call, 0, 1, nullptr)); }, VORLIX_BAD_USE, "has no element 1"},
      {[&] { return Pointer(vorlix_get_text(unanswered.get(), 0, nullptr)); }, VORLIX_BAD_USE, "has not been answered"},
      {[&] { return vorlix_fetch(server.get(), 100, nullptr, nullptr, nullptr); }, VORLIX_BAD_USE, "the place"},
      {[&] { return vorlix_fetch_blocks(server.get(), 9, nullptr, nullptr, nullptr); }, VORLIX_BAD_USE, "the function"},
      {[&] { return vorlix_fetch(server.get(), 5000, nullptr, &bytes, nullptr); }, VORLIX_TOO_LARGE,
       "the call needs a"},
      {[&] { return vorlix_xbuf_read("Xa~0~9~b$", 9, &xbuf); }, VORLIX_BAD_VALUE, "XBUF: value cut off at offset"},
      {[&] { return vorlix_xbuf_read(nullptr, 0, &xbuf); }, VORLIX_BAD_USE, "the packed XBUF is NULL"},
  });
  // What cannot be put keeps the call from being placed, with the first of its faults.
  for (const BadUse& put : std::initializer_list<BadUse>{
           {[&] { return vorlix_put_real(unanswered.get(), "1,5"); }, VORLIX_BAD_VALUE, "\"1,5\" is not a number"},
           {[&] { return vorlix_put_double(unanswered.get(), NAN); }, VORLIX_BAD_VALUE, "is out of range"},
           {[&] { return vorlix_put_text(unanswered.get(), nullptr); }, VORLIX_BAD_USE, "the text is NULL"},
           {[&] { return vorlix_put_text_ref(unanswered.get(), "", -1); }, VORLIX_BAD_VALUE, "a capacity below 0"},
           {[&] { return vorlix_put_ints(unanswered.get(), nullptr, 1, false); }, VORLIX_BAD_USE, "the array is NULL"},
           {[&] { return vorlix_put(unanswered.get(), "x"); }, VORLIX_BAD_USE, "no type letter: x"},
           {[&] { return vorlix_put(unanswered.get(), nullptr); }, VORLIX_BAD_USE, "the types are NULL"},
           {[&] { return vorlix_put_ints(unanswered.get(), &number, SIZE_MAX, true); }, VORLIX_BAD_VALUE,
            "the count of elements is 18446744073709551615"},
           {[&] { return vorlix_put_bytes(unanswered.get(), "", SIZE_MAX); }, VORLIX_BAD_VALUE, "length of a text"},
           {[&] { return vorlix_put_double(unanswered.get(), 5e-324); }, VORLIX_BAD_VALUE, "5e-324 is out of range"},
       })
    Expect({put});
  Expect({{[&] { return vorlix_call_place(unanswered.get(), nullptr); }, VORLIX_BAD_VALUE,
           "argument 0 (counted from 0): \"1,5\" is not a number"}});
  const std::string long_text(5000, 'x');
  Expect({{[&] { return vorlix_call_place(Make(server, "v_Set", "tt", "a", long_text.c_str()).get(), nullptr); },
           VORLIX_TOO_LARGE, "the call needs a segment of 5"}});
  EXPECT_EQ(Get(server, "a"), "") << "after all of this the server is as it was";
}

TEST(CLibrary, WaitsInSlicesForALateAnswer) {
  const ServerHandle server = Start(0, 50);
  EXPECT_EQ(Get(server, "a"), "");
  kill(vorlix_server_pid(server.get()), SIGSTOP);
  const CallHandle late = Make(server, "v_Set", "tt", "a", "late");
  const CallHandle next = Make(server, "v_Get", "tT", "a", "", 100);
  EXPECT_EQ(vorlix_call_start(late.get(), 0), VORLIX_OK);
  int32_t code = -1;
  Expect({
      {[&] { return vorlix_call_wait(late.get(), 20, &code); }, VORLIX_TIMEOUT, "not answered within 20 ms"},
      {[&] { return vorlix_call_wait(late.get(), 0, &code); }, VORLIX_TIMEOUT, "not answered within 0 ms"},
      {[&] { return vorlix_call_wait(late.get(), -1, &code); }, VORLIX_TIMEOUT, "not answered within 50 ms"},
      {[&] { return vorlix_call_start(next.get(), 10); }, VORLIX_TIMEOUT, "not answered within 10 ms"},
      {[&] { return vorlix_call_place(next.get(), &code); }, VORLIX_TIMEOUT, "not answered within 50 ms"},
  });
  kill(vorlix_server_pid(server.get()), SIGCONT);
  EXPECT_EQ(vorlix_call_wait(late.get(), 5000, &code), VORLIX_OK);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(vorlix_call_wait(late.get(), 0, &code), VORLIX_OK) << "the answer stays";
  EXPECT_EQ(vorlix_call_start(next.get(), -1), VORLIX_OK);
  EXPECT_EQ(vorlix_call_wait(late.get(), 0, nullptr), VORLIX_OK) << "also while another one is under way";
  EXPECT_EQ(vorlix_call_wait(next.get(), 5000, &code), VORLIX_OK);
  EXPECT_STREQ(vorlix_get_text(next.get(), 1, nullptr), "late");
  EXPECT_EQ(vorlix_call_start(late.get(), -1), VORLIX_OK);
  EXPECT_EQ(CodeOf(next), 0);
  Expect({{[&] { return vorlix_call_wait(late.get(), 0, nullptr); }, VORLIX_BAD_USE, "another call has been placed"}});
}

TEST(CLibrary, TellsOfAServerThatIsGone) {
  ServerHandle server = Start();
  CallHandle call = Make(server, "dll_Debug", "i", 1);
  EXPECT_EQ(CodeOf(call), 0);
  EXPECT_EQ(Get(server, "a"), "");
  char* text = nullptr;
  size_t length = 0;
  EXPECT_EQ(vorlix_take_stderr(server.get(), &text, &length), VORLIX_OK);
  EXPECT_EQ(std::string(text, length), "return code is 0\n\ncalling v_Get, argc = 2\nreturn code is 0\n");
  vorlix_free(text);
  EXPECT_EQ(CodeOf(Make(server, "dll_Debug", "i", 0)), 0);
  int32_t exit_status = -1;
  int32_t signal = -1;
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(vorlix_end(server.get(), &exit_status, &signal), VORLIX_OK);
    EXPECT_EQ(std::pair(exit_status, signal), std::pair(0, 0));
    usleep(5'000);  // until it is time to look for the end again
    Expect(
        {{[&] { return vorlix_call_place(call.get(), nullptr); }, VORLIX_DIED, "the server has ended: exit status 0"}});
  }
  server = Start();
  call = Make(server, "l_DeleteAll");
  kill(vorlix_server_pid(server.get()), SIGSTOP);
  EXPECT_EQ(vorlix_call_start(call.get(), 0), VORLIX_OK);
  kill(vorlix_server_pid(server.get()), SIGKILL);
  server.reset();  // the call keeps it
  Expect({{[&] { return vorlix_call_wait(call.get(), 5000, nullptr); }, VORLIX_DIED, "signal 9 (Killed)"}});
}

TEST(CLibrary, GivesAServerToOneThreadAtATime) {
  const ServerHandle server = Start();
  EXPECT_EQ(Get(server, "a"), "");
  kill(vorlix_server_pid(server.get()), SIGSTOP);
  const CallHandle theirs = Make(server, "v_Set", "tt", "a", "theirs");
  const CallHandle ours = Make(server, "v_Get", "tT", "a", "", 100);
  EXPECT_EQ(vorlix_call_start(theirs.get(), 0), VORLIX_OK);
  std::thread other([&] {
    while (vorlix_call_wait(theirs.get(), 5000, nullptr) == VORLIX_BUSY) continue;  // while we asked
  });
  vorlix_status status = VORLIX_OK;
  while ((status = vorlix_call_start(ours.get(), 0)) == VORLIX_TIMEOUT) continue;  // until they wait
  EXPECT_EQ(status, VORLIX_BUSY);
  EXPECT_STREQ(vorlix_error_message(), "the server is in use by another thread, or by what a signal has interrupted");
  std::thread([] { EXPECT_STREQ(vorlix_error_message(), ""); }).join();
  kill(vorlix_server_pid(server.get()), SIGCONT);
  other.join();
  EXPECT_EQ(Get(server, "a"), "theirs");
}

TEST(CLibrary, FetchesWholeAndInPieces) {
  const ServerHandle server = Start();
  const std::string text(1000, 'x');
  const CallHandle pack = Make(server, "dict_PackBufDX", "t", text.c_str());
  char* bytes = nullptr;
  size_t length = 0;
  int32_t code = -1;
  EXPECT_EQ(CodeOf(pack), 0);
  EXPECT_EQ(vorlix_fetch(server.get(), 32000, &code, &bytes, &length), VORLIX_OK);
  const std::string whole(bytes, length);
  vorlix_free(bytes);
  EXPECT_EQ(code, 0);
  EXPECT_NE(whole.find(text), std::string::npos);
  EXPECT_EQ(vorlix_fetch(server.get(), 32000, &code, &bytes, &length), VORLIX_OK);
  EXPECT_TRUE(code == 19 && bytes == nullptr && length == 0) << "nothing more waits";

  std::vector<std::string> pieces;
  const auto take = [](void* context, const char* piece, size_t size) {
    auto& taken = *static_cast<std::vector<std::string>*>(context);
    taken.emplace_back(piece, size);
    return taken.size() != 2;
  };
  EXPECT_EQ(CodeOf(pack), 0);
  EXPECT_EQ(vorlix_fetch_blocks(server.get(), 100, &code, take, &pieces), VORLIX_OK);
  ASSERT_EQ(pieces.size(), 2U) << "it was told to stop there";
  EXPECT_EQ(pieces[0] + pieces[1], whole.substr(0, pieces[0].size() + pieces[1].size()));
  EXPECT_TRUE(!pieces[0].empty() && !pieces[1].empty());
}

TEST(CLibrary, ReadsAndWritesXbufs) {
  vorlix_xbuf* made = nullptr;
  ASSERT_EQ(vorlix_xbuf_new(&made), VORLIX_OK);
  const std::unique_ptr<vorlix_xbuf, decltype(&vorlix_xbuf_free)> owner(made, vorlix_xbuf_free);
  EXPECT_EQ(vorlix_xbuf_add(made, 'X', "Dict_Fld", 0, "a$\0b", 4), VORLIX_OK);
  EXPECT_EQ(vorlix_xbuf_add(made, 'N', "n", 7, "1", 1), VORLIX_OK);
  Expect({{[&] { return vorlix_xbuf_add(made, 'Y', "n", 0, "", 0); }, VORLIX_BAD_VALUE, "no type letter: Y"},
          {[&] { return vorlix_xbuf_add(made, 'X', "4", 0, "", 0); }, VORLIX_BAD_VALUE, "no name for an item: 4"},
          {[&] { return vorlix_xbuf_add(made, 'X', nullptr, 0, "", 0); }, VORLIX_BAD_USE, "the name is NULL"}});
  size_t length = 0;
  const char* const packed = vorlix_xbuf_pack(made, &length);
  const std::string_view expected("Xdict_fld~0~4~a$\0bNn~7~1~1$", 27);
  EXPECT_EQ(std::string_view(packed, length), expected);
  vorlix_xbuf* read = nullptr;
  ASSERT_EQ(vorlix_xbuf_read(packed, length, &read), VORLIX_OK);
  const std::unique_ptr<vorlix_xbuf, decltype(&vorlix_xbuf_free)> reader(read, vorlix_xbuf_free);
  const vorlix_item* const item = vorlix_xbuf_find(read, "DICT_FLD", 0);
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item, vorlix_xbuf_at(read, 0));
  EXPECT_TRUE(item->type == 'X' && item->length == 4 && std::memcmp(item->value, "a$\0b", 5) == 0);
  EXPECT_EQ(vorlix_xbuf_find(read, "n", 0), nullptr) << "another index";
  EXPECT_EQ(vorlix_xbuf_at(read, 2), nullptr);
}

TEST(CLibrary, HasTheFunctionTable) {
  size_t count = 0;
  for (const vorlix_function* row = nullptr; (row = vorlix_function_at(count)) != nullptr; ++count) {
    const FunctionInfo& info = FUNCTIONS.at(count);
    EXPECT_TRUE(row->name == info.name && row->sentence == info.sentence && row->sample == info.sample) << row->name;
    EXPECT_EQ(vorlix_function_find(row->name), row);
    for (size_t k = 0; k < info.arg_count; ++k) {
      const vorlix_argument* const arg = vorlix_argument_at(row, k);
      EXPECT_EQ(arg->name, info.args.at(k).name) << row->name;
      EXPECT_EQ(static_cast<int>(arg->type), static_cast<int>(info.args.at(k).type)) << row->name;
      EXPECT_EQ(static_cast<int>(arg->direction), static_cast<int>(info.args.at(k).direction)) << row->name;
    }
    EXPECT_EQ(vorlix_argument_at(row, info.arg_count), nullptr) << row->name;
  }
  EXPECT_EQ(count, FUNCTIONS.size());
  EXPECT_STREQ(vorlix_meaning("dict_Next", "rc_p", 1), "that was the last field");
  EXPECT_STREQ(vorlix_meaning("v_Get", nullptr, 7), "no function has this name");
  EXPECT_TRUE(vorlix_meaning("v_Get", nullptr, 0) == nullptr && vorlix_meaning(nullptr, nullptr, 7) == nullptr);
  const vorlix_function elsewhere = *vorlix_function_at(0);
  EXPECT_TRUE(vorlix_argument_at(&elsewhere, 0) == nullptr && vorlix_argument_at(nullptr, 0) == nullptr &&
              vorlix_function_find(nullptr) == nullptr && vorlix_function_find("V_GET") == nullptr);
}

}  // namespace
}  // namespace vorlix
