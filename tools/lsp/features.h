// What an editor can ask of a document. The answers are those of the Language Server Protocol, as are the places in the
// parameters.
#pragma once

#include <nlohmann/json.hpp>

#include "tools/lsp/workspace.h"

namespace vorlix::tool {

using Json = nlohmann::json;

// Each answers null for a document that is not open.
Json Complete(Workspace& workspace, const Json& params);
Json Hover(Workspace& workspace, const Json& params);
Json FindDefinition(Workspace& workspace, const Json& params);
Json FindReferences(Workspace& workspace, const Json& params);
Json Outline(Workspace& workspace, const Json& params);
Json OfferFixes(Workspace& workspace, const Json& params);

/// The parameters of textDocument/publishDiagnostics.
Json Diagnostics(Workspace& workspace, const Document& document);

// Places in the form of the protocol. Those that are read throw nlohmann::json::exception when they have another form.
Json JsonOf(const Position& position);
Json JsonOf(const Range& range);
Position PositionFrom(const Json& json);
Range RangeFrom(const Json& json);

/// The document that the parameters name; null when it is not open.
const Document* DocumentOf(const Workspace& workspace, const Json& params);

}  // namespace vorlix::tool
