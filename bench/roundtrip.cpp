// What a call costs on top of the two signals that carry it, and beside a call over a message bus.
//
// All processes run on one core, so that neither the wake-up of a second core nor its absence is measured.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include "bench/measure.h"
#include "bench/pingpong.h"
#include "host/c/vorlix.h"
#include "host/server.h"
#ifdef HAVE_SYSTEMD
#include "bench/busecho.h"
#endif

namespace {

using namespace vorlix;
using bench::Compare;
using bench::Expect;

// Short turns, many of them: a disturbance falls on one turn and not on a median.
constexpr int ROUNDS = 1'000;
constexpr int RUNS = 101;
constexpr double FLOOR_GOAL = 1.20;
constexpr double RECORDED_GOAL = 1.5;
constexpr double C_GOAL = 1.1;
constexpr std::string_view PEER_ARGUMENT = "peer";

void CallFromC(vorlix_server* server) {
  vorlix_call* call = nullptr;
  int32_t code = -1;
  vorlix_call_new(server, "dll_Revision", &call);
  vorlix_put_text_ref(call, "", 20);
  Expect(vorlix_call_place(call, &code) == VORLIX_OK && code == 0 && vorlix_get_text(call, 0, nullptr) != nullptr,
         "dll_Revision fails");
  vorlix_call_free(call);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && argv[1] == PEER_ARGUMENT) bench::AnswerSignals([] {});

  bench::PinToOneCore();
  bench::Peer peer{std::string(PEER_ARGUMENT)};
  host::Server server({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  host::Server placed({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}}});
  Expect(placed.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails");
  const auto call = [&] { Expect(server.Call("dll_Revision", {host::OutText(20)}).code == 0, "dll_Revision fails"); };

  const bench::Contender floor = {"two signals and no work", [&] { peer.PingPong(); }, FLOOR_GOAL};
  Compare("a call, placed once", {{"", [&] { Expect(placed.Ring() == 0, "dll_Revision fails"); }}, floor}, 1, ROUNDS,
          RUNS);
  Compare("a call, placed and read back", {{"", call}, floor}, 1, ROUNDS, RUNS);

  constexpr const char* ENVIRONMENT[] = {"LANG=C", nullptr};
  const vorlix_options options = {sizeof options, VORLIX_SERVER, ENVIRONMENT, 0, 0, 0};
  vorlix_server* from_c = nullptr;
  Expect(vorlix_start(&options, &from_c) == VORLIX_OK, vorlix_error_message());
  Compare("a call from C", {{"", [&] { CallFromC(from_c); }}, {"the same from C++", call, C_GOAL}}, 1, ROUNDS, RUNS);
  vorlix_server_free(from_c);

  const std::string recording = std::filesystem::temp_directory_path() / ("bench-" + std::to_string(getpid()) + ".vx");
  host::Server recorded({.program = VORLIX_SERVER, .environment = {{"LANG", "C"}, {"VORLIX_RECORD", recording}}});
  const std::string address = "Meier & Co, Bahnhofstr. 17, 53113 Bonn";
  for (host::Server* const one : {&server, &recorded})
    Expect(one->Call("v_Set", {host::Text("Address"), host::Text(address)}).code == 0, "v_Set fails");
  const auto get = [&](host::Server& from) {
    return [&] { Expect(from.Call("v_Get", {host::Text("Address"), host::OutText(80)}).code == 0, "v_Get fails"); };
  };
  Compare("a call, recorded", {{"", get(recorded)}, {"not recorded", get(server), RECORDED_GOAL}}, 1, ROUNDS, RUNS);
  Expect(std::filesystem::remove(recording), "nothing was recorded");
#ifdef HAVE_SYSTEMD
  constexpr double BUS_GOAL = 0.5;
  bench::BusEcho bus;
  Compare("a call, placed and read back", {{"", call}, {"sd-bus, peer to peer", [&] { bus.Call(); }, BUS_GOAL}}, 1,
          ROUNDS / 4, RUNS);
#else
  std::puts("libsystemd is not there: its row is left out");
#endif
  return 0;
}
