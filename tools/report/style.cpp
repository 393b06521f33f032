// The looks of the report page, in light and in dark, from the width of a phone upwards.
#include "report/page.h"

namespace ozr_pano
{

const char kReportStyle[] = R"css(
:root { color-scheme: light dark; --paper: #fbfbf9; --card: #fff; --ink: #1d2126; --faint: #626b75; --line: #d9dce0;
  --along: #0a66c2; --across: #b4540a; --bad: #b3261e; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #14171a; --card: #1e2226; --ink: #e8eaed; --faint: #a0a8b1; --line: #363c43;
    --along: #6cb2ff; --across: #ffb06b; --bad: #ff8a80; } }
* { box-sizing: border-box; }
body { margin: 0 auto; padding: 1rem; max-width: 76rem; background: var(--paper); color: var(--ink);
  font: 1rem/1.45 system-ui, sans-serif; overflow-wrap: anywhere; }
h1 { font-size: 1.5rem; margin: 0; }
h2 { font-size: 1.15rem; margin: 2rem 0 .5rem; }
p { margin: .25rem 0; }
.faint { color: var(--faint); font-size: .9rem; }
.failure { border-left: .3rem solid var(--bad); padding: .4rem .8rem; background: var(--card); }
.toggles { display: flex; flex-wrap: wrap; gap: .2rem 1.2rem; margin: .5rem 0; }
.toggles label { padding: .3rem 0; cursor: pointer; }
.toggles input { width: 1.1rem; height: 1.1rem; vertical-align: -.15rem; }
.scroll { overflow-x: auto; }
.panorama { position: relative; margin: 0 auto; }
.panorama svg { display: block; width: 100%; height: auto; }
.full .panorama { margin: 0; }
.border { fill: none; stroke-width: 2; stroke-dasharray: 7 5; vector-effect: non-scaling-stroke; }
.seam { fill: none; stroke: #ffe600; stroke-width: 2; vector-effect: non-scaling-stroke; }
.seam.under { stroke: #000; stroke-width: 4.5; opacity: .65; }
.chip { position: absolute; width: 1.3rem; height: 1.3rem; margin: -.65rem; border-radius: 50%; color: #fff;
  font: bold .8rem/1.3rem system-ui, sans-serif; text-align: center; }
.no-seams .seam, .no-borders .border, .no-borders .chip { display: none; }
.cards { display: grid; grid-template-columns: repeat(auto-fill, minmax(15rem, 1fr)); gap: .8rem; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; overflow: hidden; }
.card img { display: block; width: 100%; height: 11rem; object-fit: contain; background: #0002; }
.card div { padding: .5rem .8rem .7rem; }
.card h3 { font-size: 1rem; margin: 0 0 .3rem; }
.card.unused img { opacity: .45; }
@media (max-width: 40rem) { .card { display: flex; } .card img { width: 36%; height: auto; align-self: flex-start; } .card div { flex: 1; } }
dl { display: grid; grid-template-columns: auto 1fr; gap: .1rem .8rem; margin: 0; font-variant-numeric: tabular-nums; }
dt { color: var(--faint); overflow-wrap: normal; }
dd { margin: 0; text-align: right; white-space: nowrap; }
meter { width: 3rem; vertical-align: middle; }
.joints { display: grid; grid-template-columns: repeat(auto-fill, minmax(17rem, 1fr)); gap: .8rem; }
.joint { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: .5rem; overflow: hidden; }
.joint.doubtful { border: 2px solid var(--bad); }
.joint.doubtful h3, .joint.doubtful b { color: var(--bad); }
.joint svg, .joint .none { display: block; width: 100%; height: 16rem; background: #000; }
.joint .none { padding: 6rem 1rem; color: #ddd; text-align: center; }
.joint figcaption { padding: .5rem .8rem .7rem; }
.doubtful dd { white-space: normal; }
.joint h3 { font-size: 1rem; margin: 0 0 .3rem; }
.arrow, .scale { fill: none; stroke: #ffe600; stroke-width: 1.3; vector-effect: non-scaling-stroke; }
.match { fill: #6cf; }
.stray { fill: none; stroke: #ff7a6e; stroke-width: 1.2; vector-effect: non-scaling-stroke; }
path.scale { stroke: #fff; stroke-width: 2; }
path.scale.under { stroke: #000; stroke-width: 5; }
text.scale { fill: #fff; stroke: #000; stroke-width: 3; paint-order: stroke; }
.qualities { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(20rem, 100%), 1fr)); gap: .8rem; }
.quality { margin: 0; background: var(--card); border: 1px solid var(--line); border-radius: .5rem; overflow: hidden; }
.quality img { display: block; width: 100%; max-height: 80vh; object-fit: contain; background: #0002; }
.quality figcaption { padding: .5rem .8rem .7rem; }
.quality h3 { font-size: 1rem; margin: 0 0 .3rem; }
table { border-collapse: collapse; font-variant-numeric: tabular-nums; margin: .5rem 0; }
th, td { padding: .15rem .7rem .15rem 0; text-align: right; white-space: nowrap; }
th { font-weight: normal; }
thead th { color: var(--faint); border-bottom: 1px solid var(--line); }
th:first-child { text-align: left; }
.chart { display: block; width: 100%; max-width: 48rem; height: auto; }
.chart text { fill: var(--faint); font-size: 12px; }
.chart .number { font-size: 10px; font-weight: bold; fill: var(--card); }
.chart .grid { stroke: var(--line); }
.chart .ahead { stroke: var(--faint); }
.chart .sight { fill-opacity: .09; stroke-width: 1.5; stroke-linejoin: round; }
.chart .upright { stroke-width: 1; }
.chart .on-colour { font-size: 10px; font-weight: bold; fill: #fff; }
.chart .trigger { stroke: var(--faint); stroke-dasharray: 2 3; }
.chart polyline { fill: none; stroke-width: 2; stroke-linejoin: round; }
.along { stroke: var(--along); }
.across { stroke: var(--across); }
.dot { fill: var(--along); }
.key { display: inline-block; width: .8rem; height: .8rem; border-radius: 50%; vertical-align: -.08rem; }
@media (min-width: 44rem) { .chart text { font-size: 8px; } .chart .number, .chart .on-colour { font-size: 8px; } }
.bars { display: grid; grid-template-columns: max-content 1fr max-content; gap: .3rem .8rem; align-items: center; }
.bars i { height: 1.1rem; border-radius: .2rem; background: var(--along); min-width: 2px; }
.bars b { font-weight: normal; text-align: right; font-variant-numeric: tabular-nums; }
pre { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; padding: .6rem; margin: .5rem 0;
  overflow: auto; max-height: 28rem; font-size: .8rem; white-space: pre-wrap; }
.level-E, .level-W { color: var(--bad); }
summary { cursor: pointer; padding: .3rem 0; }
)css";

const char kReportScript[] = R"js(
for (const box of document.querySelectorAll('input[data-hides], input[data-sets]')) {
  const apply = () => document.body.classList.toggle(
      box.dataset.sets || box.dataset.hides, box.checked === Boolean(box.dataset.sets));
  box.addEventListener('change', apply);
  apply();
}
)js";

}  // namespace ozr_pano
