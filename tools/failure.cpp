#include "tools/failure.h"

#include <system_error>

#include "host/failure.h"

namespace vorlix::tool {

void Refuse(const std::string& message) { throw ToolError(Status::Usage, message); }

Status StatusOf(const std::exception& error) noexcept {
  if (const auto* const own = dynamic_cast<const ToolError*>(&error)) return own->GetStatus();
  if (dynamic_cast<const std::system_error*>(&error) != nullptr) return Status::NoServer;
  const auto* const server_error = dynamic_cast<const host::ServerError*>(&error);
  if (server_error == nullptr) return Status::OtherCode;
  switch (server_error->Kind()) {
    case host::Failure::NoServer: return Status::NoServer;
    case host::Failure::Timeout: return Status::Timeout;
    case host::Failure::Died: return Status::Died;
    case host::Failure::Interrupted:
    case host::Failure::Busy: break;  // for another reason, and not in a program with one thread
  }
  return Status::OtherCode;
}

}  // namespace vorlix::tool
