// A host program as its users write it, against what is installed.
#include <cstdio>

#include "host/server.h"

int main() {
  using namespace vorlix::host;
  Server server({.program = VORLIX_SERVER});
  const Result r = server.Call("fmt_Date", {Int(10227), Int(1), Int(10), Text("%d.%m.%Y"), OutText(80)});
  std::puts(r.args.at(4).TextAt().c_str());
  return r.code;
}
