// A whole host in C++: opens a dictionary, walks the fields of a dialog and prints what each of them shows. From the
// root of the project:
//
//   g++ -o host examples/hosts/host.cpp $(pkg-config --cflags --libs vorlix++)
//   PATH=$PATH:$(dirname $(pkg-config --variable=server vorlix++)) ./host
#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/server.h"
#include "host/xbuf.h"

using namespace vorlix::host;

// The arguments of a call with code 0, as they came back.
static std::vector<Arg> Place(Server& server, std::string_view function, const std::vector<Arg>& args) {
  Result result = server.Call(function, args);
  if (result.code != 0) throw std::runtime_error(std::string(function) + ": code " + std::to_string(result.code));
  return std::move(result.args);
}

static std::string Value(const std::vector<XbufItem>& items, std::string_view name) {
  const auto item = std::ranges::find(items, name, &XbufItem::name);
  return item != items.end() ? item->value : "";
}

int main() try {
  Server server;
  Place(server, "dict_OpenModel", {Text("MUSTER"), Text("examples/dict/muster.dic"), IntRef()});
  Place(server, "dict_Open", {Text("KUNDEN"), Text("examples/dict/kunden.dic"), Int(1), IntRef()});

  // A customer as a program has it; the filter turns its values into what their fields show.
  const std::string customer =
      WriteXbuf({{'X', "name", 0, "Meier & Co"}, {'N', "umsatz", 0, "1234.5"}, {'N', "kunde_seit", 0, "10227"}});
  Place(server, "dict_XbufFilterInit", {Text("D01KUNDE"), Text(customer), IntRef()});
  Place(server, "dict_FilterInit", {Text("format")});
  for (;;) {
    const std::vector<Arg> field = Place(server, "dict_FilterNext", {OutText(4000), OutText(4000), IntRef()});
    if (field[2].IntAt() != 0) break;
    const std::string name = Value(ReadXbuf(field[0].TextAt()), "dict_fld");
    std::printf("%-10s [%s]\n", name.c_str(), field[1].TextAt().c_str());
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
