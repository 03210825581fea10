#include "vault/page_style.h"

namespace vault {

const std::string_view kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #ffffff; --ink: #1c2128; --quiet: #5d6670; --rule: #dedfda; --ground: #f1f1ed; --accent: #1558b0;
  --sound: #1d7044; --suspect: #955f00; --damaged: #c22a26; --unreadable: #7550bd; --other: #8a939c;
  --decoded: #92a3af; --opaque: #c3cace; --unclaimed: #dbd5e3;
}
@media screen and (prefers-color-scheme: dark) {
  :root {
    --paper: #191c20; --ink: #e6e8ea; --quiet: #9aa3ad; --rule: #31363c; --ground: #262a2f; --accent: #7db4f5;
    --sound: #6cc794; --suspect: #e2b04e; --damaged: #f4766e; --unreadable: #b294ee; --other: #6b7178;
    --decoded: #667785; --opaque: #444e58; --unclaimed: #3c3b4e;
  }
}
body { margin: 0 auto; max-width: 64rem; padding: 1.5rem; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, "Segoe UI", Roboto, "Liberation Sans", Arial, sans-serif; }
h1 { font-size: 1.6rem; margin: 0; overflow-wrap: anywhere; }
h2 { font-size: 1.15rem; margin: 2rem 0 .5rem; border-bottom: 1px solid var(--rule); }
p { margin: .4rem 0; }
a { color: var(--accent); }
.quiet { color: var(--quiet); }
.lead { font-size: 1.15rem; }
svg { display: block; width: 100%; max-width: 48rem; height: auto; }
svg text { fill: var(--ink); font-size: 13px; }
rect.sound { fill: var(--sound); } rect.suspect { fill: var(--suspect); } rect.damaged { fill: var(--damaged); }
rect.unreadable { fill: var(--unreadable); } rect.other { fill: var(--other); } rect.accent { fill: var(--accent); }
rect.decoded { fill: var(--decoded); } rect.opaque { fill: var(--opaque); } rect.unclaimed { fill: var(--unclaimed); }
rect.ground { fill: var(--ground); }
.line { fill: none; stroke-width: 2; }
.line.accent { stroke: var(--accent); } .line.suspect { stroke: var(--suspect); stroke-dasharray: 6 3; }
.line.damaged { stroke: var(--damaged); } .line.unreadable { stroke: var(--unreadable); stroke-dasharray: 2 3; }
.scroll { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: .9rem; }
th, td { text-align: left; vertical-align: top; padding: .35rem .8rem .35rem 0; border-bottom: 1px solid var(--rule); }
td.name { overflow-wrap: anywhere; min-width: 14rem; font-family: ui-monospace, "Liberation Mono", monospace; }
td.number, th.number { text-align: right; }
.verdict { font-weight: 600; white-space: nowrap; }
.verdict.damaged { color: var(--damaged); } .verdict.suspect { color: var(--suspect); }
.verdict.unreadable { color: var(--unreadable); }
ul { margin: 0; padding-left: 1.1rem; }
code { font-family: ui-monospace, "Liberation Mono", monospace; }
@media print { body { max-width: none; padding: 0; } tr { break-inside: avoid; } }
)css";

}  // namespace vault
