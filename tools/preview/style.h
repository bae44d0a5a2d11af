// How a page of forms looks, on a screen and on paper.
#pragma once

namespace vorlix::tool {

inline constexpr const char* PAGE_STYLE =
    R"(body { font: 16px/1.5 system-ui, sans-serif; color: #1a1a1a; background: #fff; margin: 0 auto; max-width: 60rem; padding: 1rem; }
h1 { font-size: 1.4rem; }
h2 { font-size: 1.2rem; border-bottom: 1px solid #767676; }
.id { font-weight: normal; color: #595959; }
.field { display: grid; grid-template-columns: minmax(8rem, 14rem) 1fr; gap: 0 1rem; padding: .4rem 0; break-inside: avoid; }
dt { font-weight: 600; overflow-wrap: anywhere; }
dd { margin: 0; min-width: 0; }
.required { display: block; font-weight: normal; font-size: .85rem; color: #8a1c00; }
.box { display: inline-block; box-sizing: content-box; margin: 0; padding: .1rem .3rem; border: 1px solid #767676; max-width: calc(100% - .6rem - 2px); white-space: pre-wrap; overflow-wrap: anywhere; vertical-align: top; }
.box, .check, .radio { font-family: ui-monospace, monospace; }
.check, .radio { display: inline-block; width: 1.3em; text-align: center; border: 1px solid #767676; }
.radio { border-radius: 50%; }
p { margin: 0; font-size: .85rem; color: #595959; }
.findings { margin: .2rem 0; padding-left: 1.2rem; color: #8a1c00; }
@media (max-width: 40rem) { .field { grid-template-columns: 1fr; } }
@media print { body { max-width: none; padding: 0; } h2 { break-after: avoid; } }
)";

}  // namespace vorlix::tool
