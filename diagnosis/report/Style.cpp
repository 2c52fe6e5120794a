#include "diagnosis/report/Style.h"

namespace diagnosis::page {

const char* styleSheet() {
    return R"css(
:root{--bg:#ffffff;--panel:#f6f7f9;--ink:#1c2430;--soft:#5b6675;--line:#d9dee5;--good:#146c3e;--bad:#b52d24;
--warn:#855800;--trace:#1f5fbf;--clock:#7a3fb5;--track:#e4e8ee;--goodfill:#278a5b;--badfill:#d1574c;--window:#4f83c8;
--opengood:#d9f0e4;--openbad:#fbe3e0;--badgegood:#e2f4ea;--badgebad:#fce8e6;--badgewarn:#fff3d6}
@media (prefers-color-scheme:dark){:root{--bg:#12161c;--panel:#1a2029;--ink:#e3e8ef;--soft:#97a3b3;--line:#303947;
--good:#5fce97;--bad:#ff8a80;--warn:#e6b450;--trace:#79b0ff;--clock:#c79bf2;--track:#2a3340;--goodfill:#3a9c6e;
--badfill:#d2645c;--window:#5585cc;--opengood:#17352a;--openbad:#41211f;--badgegood:#17352a;--badgebad:#41211f;
--badgewarn:#3b3018}}
@media print{:root{--bg:#fff;--panel:#f6f7f9;--ink:#000;--soft:#444;--line:#ccc;--good:#146c3e;--bad:#b52d24;
--warn:#855800;--trace:#1f5fbf;--clock:#7a3fb5;--track:#e4e8ee;--goodfill:#278a5b;--badfill:#d1574c;--window:#4f83c8;
--opengood:#d9f0e4;--openbad:#fbe3e0;--badgegood:#e2f4ea;--badgebad:#fce8e6;--badgewarn:#fff3d6}}
*{box-sizing:border-box}
html{-webkit-print-color-adjust:exact;print-color-adjust:exact}
body{margin:0;background:var(--bg);color:var(--ink);font:15px/1.5 system-ui,"Segoe UI","DejaVu Sans",sans-serif}
main{max-width:1180px;margin:0 auto;padding:28px 32px 48px}
h1{font-size:26px;line-height:1.2;margin:0 0 2px}
h2{font-size:19px;margin:36px 0 10px;padding-top:14px;border-top:1px solid var(--line)}
h3{font-size:15px;margin:22px 0 6px}
p{margin:6px 0}
.sub{color:var(--soft);margin:0 0 16px}
.badge{display:inline-block;padding:1px 10px;border-radius:999px;font-size:13px;font-weight:600;white-space:nowrap}
.badge::before{display:inline-block;margin-right:.35em;font-weight:700}
.badge.good::before{content:"\2713"}.badge.bad::before{content:"\2715"}.badge.warn::before{content:"!"}
.badge.plain::before{content:"?"}.badge.label{white-space:normal}.badge.label::before{content:none}
.badge.good{color:var(--good);background:var(--badgegood)}
.badge.bad{color:var(--bad);background:var(--badgebad)}
.badge.warn{color:var(--warn);background:var(--badgewarn)}
.badge.plain{color:var(--soft);background:var(--track)}
.facts{display:grid;grid-template-columns:repeat(auto-fit,minmax(118px,1fr));gap:10px;margin:0 0 18px}
.fact{background:var(--panel);border:1px solid var(--line);border-radius:8px;padding:8px}
.fact b{display:block;font-size:16px;line-height:1.4;white-space:nowrap}
.fact span{color:var(--soft);font-size:12.5px}
.finding{border:1px solid var(--line);border-left:5px solid var(--bad);border-radius:8px;padding:10px 16px;margin:10px 0;
background:var(--panel);break-inside:avoid}
.finding.note{border-left-color:var(--warn);border-left-style:dashed}
.finding.none{border-left-color:var(--good)}
.finding.plain{border-left-color:var(--soft);border-left-style:dotted}
.finding h3{margin:0 0 4px;font-size:16px}
.finding ul{margin:4px 0;padding-left:20px;color:var(--soft);font-size:13.5px}
.finding .check{margin:6px 0 0}
.hint{color:var(--soft);font-size:13.5px;max-width:125ch}
table{border-collapse:collapse;width:100%;font-size:13.5px}
th{text-align:left;color:var(--soft);font-weight:600;border-bottom:1px solid var(--line);padding:4px 10px 4px 0;
vertical-align:bottom}
td{border-bottom:1px solid var(--line);padding:4px 10px 4px 0;vertical-align:middle}
td.n,th.n{text-align:right;font-variant-numeric:tabular-nums}td.n{white-space:nowrap}
td.pin{white-space:nowrap;font-weight:600}td.n svg{margin-bottom:1px}
tr{break-inside:avoid}
.scroll{overflow-x:auto}table.verification{width:auto}table.verification td,table.verification th{padding-right:26px}
.eyes{display:grid;grid-template-columns:repeat(auto-fit,minmax(196px,1fr));gap:12px}
.eyes>svg{width:100%;max-width:360px;height:auto;background:var(--panel);border:1px solid var(--line);border-radius:8px;
break-inside:avoid}
svg{display:block}
table.lanes th:nth-child(4),table.lanes th:nth-child(5){white-space:nowrap}
svg.bar{width:100%;min-width:104px;height:auto}th.pic{width:19%}td.n .thin{color:var(--bad);font-weight:600}
td.n .thin::before{content:"\2715\A0"}tr.sum td{border-top:1px solid var(--soft);color:var(--soft)}
svg.waveform,svg.strip{width:100%;height:auto}
svg text{fill:var(--ink);font:12px system-ui,"Segoe UI","DejaVu Sans",sans-serif}
svg .tiny{font-size:10.5px;fill:var(--soft)}
svg .title{font-weight:700;font-size:12.5px}svg .size{font-size:11px}
svg .good{fill:var(--good)}svg .bad{fill:var(--bad)}
svg .track{fill:var(--track)}
svg .fill-good{fill:var(--goodfill)}svg .fill-bad{fill:var(--badfill)}svg .fill-window{fill:var(--window)}
svg .open-good{fill:var(--opengood)}svg .open-bad{fill:var(--openbad)}
svg .hatch{fill:none;stroke:var(--track);stroke-width:1.6}svg .hatch-bad{fill:none;stroke:var(--badfill);stroke-width:1;opacity:.6}
svg .grid{stroke:var(--bg);stroke-width:1}
svg .need{stroke:var(--ink);stroke-width:1.5;stroke-dasharray:3 2}
svg .sampling{stroke:var(--clock);stroke-width:1.6}
svg .faint{stroke-width:1;opacity:.55;stroke-dasharray:3 3}
svg .chosen{stroke:var(--ink);stroke-width:2.5}
svg .cut{fill:var(--bg);stroke:var(--soft);stroke-width:1.4}svg .lost{fill:var(--bad);stroke:var(--bad)}
svg .axis{stroke:var(--soft);stroke-width:1}
svg .rail{stroke:var(--trace);stroke-width:2;opacity:.75}
svg .trace{fill:none;stroke:var(--trace);stroke-width:2.2}
svg .histogram{fill:var(--trace);opacity:.75}
svg .wave{fill:none;stroke:var(--trace);stroke-width:1.8;stroke-linejoin:round}
svg .wave.clock{stroke:var(--clock)}
svg .bit{stroke:var(--trace);stroke-width:1.4}
svg .one{fill:var(--trace)}svg .zero{fill:var(--bg)}
svg .spot{fill:var(--badfill);opacity:.45}
svg .spot-mark{fill:var(--bad)}
svg .skipped{fill:var(--soft)}
.legend{color:var(--soft);font-size:12.5px;margin:4px 0 0}
.swatch{display:inline-block;width:12px;height:12px;border-radius:3px;vertical-align:-1px;margin:0 4px 0 12px}.swatch:first-child{margin-left:0}
.swatch.good{background:var(--goodfill)}.swatch.window{background:var(--window)}
.swatch.bad{background:repeating-linear-gradient(135deg,var(--badfill) 0 3px,var(--track) 3px 5px)}
.swatch.cut{width:9px;border-radius:0;background:var(--soft);clip-path:polygon(100% 0,100% 100%,0 50%)}.swatch.lost{background:var(--bad)}
.registers{columns:2;column-gap:28px}
.registers div{break-inside:avoid;display:flex;gap:10px;font-size:13px;border-bottom:1px solid var(--line);padding:2px 0}
.registers code{flex:none}
.registers .zero{color:var(--soft)}
.registers .what{flex:1}
code{font:12.5px ui-monospace,"DejaVu Sans Mono",Consolas,monospace}
dl{display:grid;grid-template-columns:max-content 1fr;gap:2px 18px;margin:6px 0;font-size:13.5px}
dt{color:var(--soft)}dd{margin:0;overflow-wrap:anywhere}
summary{cursor:pointer;color:var(--trace);font-size:13.5px;margin:6px 0}
footer{margin-top:40px;padding-top:12px;border-top:1px solid var(--line);color:var(--soft);font-size:12.5px}
@media print{main{max-width:none;padding:0}body{font-size:10.5px}h1{font-size:19px}h2{font-size:14px;
margin:12px 0 6px;padding-top:8px}h2,h3{break-after:avoid}h3,.finding h3{font-size:12px}h3{margin-top:12px}
p{margin:4px 0}.hint,.legend,.finding ul,dl,.registers div{font-size:9.5px}.finding{padding:6px 12px;margin:6px 0}
.facts{grid-template-columns:repeat(6,1fr);gap:6px;margin-bottom:8px}.fact{padding:4px 8px}.fact b{font-size:13px}
.fact span,code{font-size:9px}.badge{font-size:10px}.scroll{overflow:visible}.eyes{grid-template-columns:repeat(4,1fr);
gap:6px}table{font-size:9px;break-inside:avoid}td,th{padding:2px 5px 2px 0}svg.bar{width:118px;height:16px}
svg.waveform,svg.strip,.finding,.keep{break-inside:avoid}details::details-content{content-visibility:visible;block-size:auto}summary{display:none}.hint{break-after:avoid}@page{size:A4;margin:13mm}}
@media screen and (max-width:1100px){table.lanes{font-size:12.5px}table.lanes td,table.lanes th{padding-right:9px}}
@media screen and (max-width:1000px){.eyes{grid-template-columns:repeat(auto-fit,minmax(300px,1fr))}.eyes>svg{max-width:500px}}
@media screen and (max-width:860px){.facts{grid-template-columns:repeat(3,1fr)}}
@media screen and (max-width:700px){main{padding:14px}h1{font-size:21px;overflow-wrap:anywhere}.registers{columns:1}table.lanes{min-width:860px}
table.attempts,table.attempts tbody{display:block}table.attempts tr:first-child{display:none}
table.attempts tr{display:flex;flex-wrap:wrap;align-items:center;gap:2px 14px;border-bottom:1px solid var(--line);padding:6px 0}
table.attempts td{border:0;padding:0}table.attempts td:last-child{flex-basis:100%}
table.attempts td:first-child::before{content:"setting "}table.attempts td:nth-child(3)::after{content:" samples a period"}
.drawn svg{width:860px}.facts{grid-template-columns:repeat(2,1fr)}.finding{padding:8px 10px}
td.pin,table.lanes th:first-child{position:sticky;left:0;background:var(--bg)}dl{grid-template-columns:1fr}
.eyes>svg{max-width:none}}
)css";
}

} // namespace diagnosis::page
