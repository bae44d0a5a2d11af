#include "tools/lsp/features.h"

namespace vorlix::tool {

Json JsonOf(const Position& position) { return {{"line", position.line}, {"character", position.character}}; }

Json JsonOf(const Range& range) { return {{"start", JsonOf(range.start)}, {"end", JsonOf(range.end)}}; }

Position PositionFrom(const Json& json) {
  return {json.at("line").get<uint32_t>(), json.at("character").get<uint32_t>()};
}

Range RangeFrom(const Json& json) { return {PositionFrom(json.at("start")), PositionFrom(json.at("end"))}; }

const Document* DocumentOf(const Workspace& workspace, const Json& params) {
  return workspace.Find(params.at("textDocument").at("uri").get<std::string>());
}

}  // namespace vorlix::tool
