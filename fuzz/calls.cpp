// Bytes as sequences of calls, through the call frame and the real functions in one process: nothing outside of what a
// call may write changes, nothing outside of the block is touched, and what calls leave behind can be released.
//
// A call is a well-formed one but for what its bytes make of it: other classes, counts, strides, capacities and places
// of arguments, and words of the block replaced. The functions see the files of one directory alone: the target is
// linked so that their `open` comes here.
#include <fcntl.h>
#include <sanitizer/asan_interface.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <vector>

#include "dll/base/debug.h"
#include "dll/server/functions.h"
#include "dll/shared/csdx.h"
#include "dll/wire/functable.h"
#include "fuzz/input.h"
#include "hostif/dllif.h"
#include "hostif/math.h"
#include "tools/scope.h"

namespace vorlix::fuzz {
namespace {

constexpr int MOST_CALLS = 24;
constexpr size_t LARGEST = 4096;
alignas(LARGEST) char memory[3 * LARGEST];  // the block, and as much on both sides that nobody may touch
char* const block = memory + LARGEST;
size_t block_size = 0;
bool files_changed = true;

// ---- Bytes of a block -----------------------------------------------------------------------------------------------

template <class Value>
Value Get(const char* bytes, size_t offset) {
  Value value{};
  if (offset <= block_size && sizeof value <= block_size - offset) std::memcpy(&value, bytes + offset, sizeof value);
  return value;
}

ArgDescriptor DescriptorIn(const char* bytes, size_t index) {
  return Get<ArgDescriptor>(bytes, DescriptorOffset(index));
}

size_t OffsetIn(const char* bytes, const ArgDescriptor& desc) {
  return desc.address - Get<BlockHeader>(bytes, 0).host_base;
}

// The text of an argument; none where it does not lie in the block.
std::string_view TextIn(const char* bytes, size_t index) {
  const size_t at = OffsetIn(bytes, DescriptorIn(bytes, index));
  const auto length = Get<uint32_t>(bytes, at);
  return at + WORD_SIZE + length <= block_size ? std::string_view(bytes + at + WORD_SIZE, length) : "";
}

// Copies bytes into a block, as far as they fit.
void Copy(char* bytes, size_t offset, const void* from, size_t size) {
  if (offset < block_size) std::memcpy(bytes + offset, from, std::min(size, block_size - offset));
}

// ---- Writing a call -------------------------------------------------------------------------------------------------

// Texts that lead somewhere. All others come from the input.
constexpr std::string_view TEXTS[] = {
    // clang-format off
    "", "muster.dic", "kunden.dic", "bestellung.dic", "module.mdf", "new", "K", "B", "M", "D01KUNDE", "D01KUNDE_1",
    "D01ANSCHRIFT", "D01BESTELLUNG", "D02KUNDE", "KD", "be", "name", "umsatz", "betrag", "datum", "versand", "*",
    "name,umsatz", "zeit$,betrag", "format", "fmt_hook", "def_hook", "out_hook", "FTYP", "FLEN", "d", "titel", "list",
    "kd.name", "path", "XDict_fld~0~4~NameNDict_len~0~2~40$", "XDict_fld~0~6~umsatzXDict_fmt~0~3~RTGNDict_max~0~3~1e9$",
    "XName~0~5~MeierNUmsatz~0~6~1234.5$", "Xdatum~0~5~$DATENversand~0~1~2Nbetrag~0~4~-1.5$", "bestellung", "KUNDEN",
    "mdf_mod,title", "D3F3I3N3", "*9", "LANG=C", "LANG=de_DE,NUMERIC=C", "Feld:N,10,2,1,>0,9999,m;", "feld:D,8;",
    "Kunde.Adresse.Ort", "-12.5", "1,234.50", "RZTG", "LBPS", "GREG", "CYMD", "KW", "HM60", "31.12.99", "29.2.2000",
    "12:30", "%d.%m.%y", "%-5d %B|%.3a %j %c", "%H:%M:%S %p %I", "%W/%Y", "[0-9.,-]*", "[^]a-z]*", "abc"
    // clang-format on
};

template <class Value>
std::string BytesOf(const Value& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

// An argument without a place: its descriptor, and the bytes of an element.
struct Element {
  ArgDescriptor desc;
  std::string bytes;
};

Element TextElement(std::string_view text, size_t room) {
  std::string bytes = BytesOf(static_cast<int32_t>(text.size())).append(text);
  bytes.resize(std::max(bytes.size(), WORD_SIZE + room));
  return {{HOST_STRING, 0, 0, static_cast<int32_t>(room), 0, 1}, bytes};
}

Element TakeElement(Input& input, DeclaredType type) {
  const uint8_t choice = input.Byte();
  if (type >= DeclaredType::zString) {
    constexpr size_t COUNT = std::size(TEXTS);
    const std::string_view text = choice < COUNT ? TEXTS[choice] : input.Text(choice - COUNT);
    const size_t room = type == DeclaredType::zString ? 1U : input.Byte();
    return TextElement(text, room == 0 ? 700 : room - 1);
  }
  if (type >= DeclaredType::RealByValue) {
    const HostReal simple{1, uint8_t(choice / 100), 1, {uint8_t(choice % 100)}};
    return {{HOST_REAL, 0, 0, 0, 0, 1}, BytesOf(choice < 200 ? simple : input.Take<HostReal>())};
  }
  return {{HOST_INTEGER, 0, 0, 0, 0, 1}, BytesOf(choice == 0x80 ? input.Take<int32_t>() : int8_t(choice))};
}

class CallWriter {
 public:
  explicit CallWriter(Input& input) : input_(input) {}

  void Write() {
    std::memset(block, 0xa5, block_size);
    const uint8_t choice = input_.Byte();
    const bool known = choice < FUNCTIONS.size();
    const auto args = known ? FUNCTIONS[choice].Args() : std::span<const ArgInfo>();
    header_.host_base = choice % 2 == 0 ? 0U : 0xfffffe00U;
    header_.arg_count = static_cast<int32_t>(args.size()) + 1;
    free_ = DescriptorOffset(args.size() + 1);
    Copy(block, 0, &header_, sizeof header_);
    Place(0, TextElement(known ? FUNCTIONS[choice].name : input_.Text(input_.Byte()), 0));
    for (size_t i = 0; i < args.size(); ++i) PlaceArg(i + 1, args[i]);
    for (int wild = input_.Byte() % 4; wild > 0; --wild) ReplaceWord();
  }

 private:
  // How an argument differs from a plain one.
  enum Difference : uint8_t { OTHER_FLAG = 0x80, ARRAY = 0x40, ALIAS = 0x20, GAP = 0x10, OTHER_TYPE = 0x08 };

  void PlaceArg(size_t index, const ArgInfo& info) {
    const uint8_t differs = input_.Byte();
    Element element = TakeElement(
        input_, (differs & OTHER_TYPE) != 0 ? DeclaredType(input_.Byte() % DECLARED_TYPES.size()) : info.type);
    element.desc.by_ref = (info.direction != Direction::In) != ((differs & OTHER_FLAG) != 0);
    if ((differs & ARRAY) != 0) {
      element.desc.count = input_.Take<int8_t>();
      element.desc.stride = input_.Take<int8_t>();
    }
    if ((differs & GAP) != 0) free_ += input_.Byte();
    const size_t next = free_;
    if ((differs & ALIAS) != 0) free_ = last_ + size_t(input_.Take<int8_t>());
    Place(index, element);
    if ((differs & ALIAS) != 0) free_ = next;
  }

  void Place(size_t index, Element element) {
    last_ = free_;
    element.desc.address = header_.host_base + static_cast<uint32_t>(free_);
    Copy(block, DescriptorOffset(index), &element.desc, sizeof element.desc);
    const size_t step = WORD_SIZE * size_t(std::max(element.desc.stride, 0));
    for (int32_t k = 0; k < std::max(element.desc.count, 1); ++k) {
      Copy(block, free_, element.bytes.data(), element.bytes.size());
      free_ += element.desc.count > 1 ? step : element.bytes.size();
    }
  }

  void ReplaceWord() {
    const size_t offset = offsetof(BlockHeader, host_base) + WORD_SIZE * input_.Byte();
    const auto small = uint32_t(input_.Take<int8_t>());
    const uint32_t base = header_.host_base;
    const uint32_t words[] = {small, base + small, base + uint32_t(block_size) + small, INT32_MAX + small};
    const uint8_t choice = input_.Byte() % 5;
    const uint32_t word = choice < 4 ? words[choice] : input_.Take<uint32_t>();
    Copy(block, offset, &word, sizeof word);
  }

  Input& input_;
  BlockHeader header_{};
  size_t free_ = 0;  // where the next element goes
  size_t last_ = 0;  // where the last one went
};

// Host reals that are marked as invalid end a server, as they shall: they are made valid.
void MakeRealsValid() {
  const int32_t count = std::clamp(Get<BlockHeader>(block, 0).arg_count, 0, MAX_ARGS + 1);
  for (int32_t i = 1; i < count; ++i) {
    const ArgDescriptor desc = DescriptorIn(block, size_t(i));
    if (desc.host_class != HOST_REAL) continue;
    const size_t step = desc.count > 1 && desc.stride > 0 ? WORD_SIZE * size_t(desc.stride) : block_size;
    for (size_t at = OffsetIn(block, desc); at + sizeof(HostReal) <= block_size; at += step) {
      char& sign = block[at + offsetof(HostReal, sign)];
      if (static_cast<uint8_t>(sign) != REAL_INVALID) continue;
      sign = REAL_POSITIVE;
      i = 0;  // the byte may be one of a descriptor as well: all over again
    }
  }
}

// ---- What a call may do ---------------------------------------------------------------------------------------------

char before[LARGEST];    // the block before the call
char expected[LARGEST];  // the same with what the call may have written

void Allow(size_t offset, size_t size) { Copy(expected, offset, block + offset, size); }

// What goes back into each element where the host passed a variable.
void AllowElements(const ArgDescriptor& desc, size_t offset, size_t size) {
  const auto count = size_t(std::clamp<int64_t>(desc.count, 1, desc.stride > 0 ? LARGEST : 1));
  for (size_t k = 0; k < count && desc.by_ref != 0; ++k) Allow(offset + WORD_SIZE * size_t(desc.stride) * k, size);
}

void AllowArg(size_t index, const ArgInfo& info) {
  const ArgDescriptor desc = DescriptorIn(before, index);
  const size_t offset = OffsetIn(before, desc);
  switch (info.type) {
    case DeclaredType::IntByReference: return Allow(offset, sizeof(int32_t));
    case DeclaredType::RealByReference: return AllowElements(desc, offset, sizeof(HostReal));
    case DeclaredType::String: {
      const int64_t room = desc.count > 1 ? int64_t{WORD_SIZE} * (int64_t{desc.stride} - 1) : desc.capacity;
      const int64_t most = std::clamp<int64_t>(desc.capacity, 0, std::max<int64_t>(room, 0));
      if (info.direction != Direction::In) Allow(offset + WORD_SIZE, size_t(most));
      return AllowElements(desc, offset, sizeof(int32_t));
    }
    default:
      if (desc.by_ref != 0) Allow(DescriptorOffset(index) + offsetof(ArgDescriptor, by_ref), WORD_SIZE);
  }
}

// Makes the call. Whether the block differs in nothing but what a call with this result may write.
bool ChangesWhatItMay() {
  std::memcpy(before, block, block_size);
  std::memcpy(expected, block, block_size);
  const int32_t code = DllCall();
  const FunctionInfo* function = FindFunction(TextIn(before, 0));
  const bool refused = code == RESULT_UNKNOWN_FUNCTION || code == RESULT_WRONG_CLASS || code == RESULT_WRONG_COUNT ||
                       code == RESULT_TOO_MANY_ARGS;
  for (size_t i = 0; function != nullptr && !refused && i < function->arg_count; ++i)
    AllowArg(i + 1, function->args[i]);
  return std::memcmp(expected, block, block_size) == 0;
}

// ---- State ----------------------------------------------------------------------------------------------------------

// The files that calls may find, in the directory that the target works in.
void MakeFiles() {
  for (const auto& file : std::filesystem::directory_iterator(".")) std::filesystem::remove_all(file);
  std::filesystem::copy(VORLIX_DICTIONARIES, ".");
  files_changed = false;
}

void SetBlock(size_t size) {
  if (size == block_size) return;
  ASAN_POISON_MEMORY_REGION(memory, sizeof memory);
  ASAN_UNPOISON_MEMORY_REGION(block, size);
  DllSetBlock(block, size);
  block_size = size;
}

// Takes away what calls leave behind; `variables` are the names that were set.
void Reset(std::vector<std::string>& variables) {
  SetDebugFlags("", "");
  SetCallTraceLevel(0);
  CSDX_Reset();
  l_DeleteAll();
  ini_CloseAll();
  dict_CloseAll();
  dict_Y2kMode(0);
  while (dict_FilterFree() == RESULT_OK) continue;
  // A name can lead to the variable of another one, so each is asked for as often as there can be variables.
  for (size_t i = 0; i < variables.size(); ++i)
    for (std::string& name : variables) v_Unset(DllString{int32_t(name.size()), int32_t(name.size()), name.data()});
  DllString no_room;
  int32_t status = 0;
  mdf_Get("none", "none", "", no_room, IntByReference(&status));  // what was read last goes with a failure
}

}  // namespace

void Run(Input input) {
  static tool::ScratchDirectory directory;
  static const bool entered = chdir(directory.Path().c_str()) == 0;
  Require(entered, "there is a directory");
  if (files_changed) MakeFiles();
  const uint8_t small = input.Byte();
  SetBlock(small == 0 ? LARGEST : sizeof(BlockHeader) + WORD_SIZE * small);
  std::vector<std::string> variables;
  bool locale_changed = false;
  for (int i = 0; i < MOST_CALLS && !input.Empty(); ++i) {
    CallWriter(input).Write();
    MakeRealsValid();
    if (TextIn(block, 0) == "v_Set") variables.emplace_back(TextIn(block, 1));
    locale_changed |= TextIn(block, 0) == "dll_SetLocale";
    Require(ChangesWhatItMay(), "a call changes only what it may");
  }
  if (locale_changed) Require(DescribeLanguages("LANG=C") == RESULT_OK, "there is a \"C\" locale");
  Reset(variables);
}

}  // namespace vorlix::fuzz

// The functions' way to files. What they may have written is made anew for the next input.
extern "C" int __wrap_open(const char* path, int flags, ...);
extern "C" int __wrap_open(const char* path, int flags, ...) {
  vorlix::fuzz::files_changed |= (flags & O_ACCMODE) != O_RDONLY;
  if (std::strchr(path, '/') == nullptr) return openat(AT_FDCWD, path, flags, 0600);
  errno = EACCES;
  return -1;
}
