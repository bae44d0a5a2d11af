// A dictionary file becomes a dictionary: its sections are read, checked, and completed by the models that they name.
#pragma once

#include <list>

#include "dll/base/syscall.h"
#include "dll/base/text.h"
#include "dll/shared/dictkrnl.h"

namespace vorlix {

/// Looks on while a file is read. For programs that have to say where in the file a message belongs, and what else is
/// wrong: the server stops at the first fault.
class ReadObserver {
 public:
  virtual ~ReadObserver() = default;
  /// A header or an entry was read. `next_line` is where the line behind it starts, in bytes.
  virtual void OnLine(int64_t next_line) = 0;
  /// The entries of a section that is to be judged were all taken; the header is the one that was read last.
  virtual void OnSectionEnd() = 0;
  /// The object was refused, and has been traced. True when its fault has been put right in it, so that it can be
  /// judged again.
  virtual bool Cure(Object& object) = 0;
};

/// Reads a whole file into an empty list, as its one dictionary. FILE_REFUSED: what is wrong has been traced, unless
/// the file has no section; an observer lets it go on to the end of the file all the same. What fails leaves no file
/// open.
FileCode ReadDictFile(std::list<DictPtr>& fresh, CText fname, const char* id, DictKind kind,
                      ReadObserver* observer = nullptr);

/// The section of that name of the model dictionaries, which are looked through from the newest on; null for none.
SectionPtr FindModel(std::string_view name);

}  // namespace vorlix
