// The page of `backhaulctl timeline`: style and behaviour, without any asset from elsewhere. The
// data stands between the two texts.
//
// Colours are told apart by people of every kind of colour vision, and each state has a pattern of
// its own as well; what the mouse does a key does too.

#include "ctl/timeline.h"

const char TIMELINE_PAGE_HEAD[] = R"page(<!doctype html>
<html lang="en"><head><meta charset="utf-8">
<meta name="viewport" content="width=device-width,initial-scale=1">
<title>Backhaul timeline</title>
<link rel="icon" href="data:,">
<style>
:root{--back:#fff;--text:#1a1a1a;--soft:#5a5a5a;--line:#c9c9c9;--panel:#f3f3f3;--hit:#c2185b;--focus:#0b57d0}
:root[data-theme=dark]{--back:#161616;--text:#ececec;--soft:#b0b0b0;--line:#4a4a4a;--panel:#242424;--hit:#ff7ab0;--focus:#8ab4f8}
*{box-sizing:border-box}
body{margin:0;background:var(--back);color:var(--text);font:14px/1.4 system-ui,sans-serif}
header{position:sticky;top:0;z-index:2;background:var(--back);border-bottom:1px solid var(--line);padding:8px 12px;display:flex;flex-wrap:wrap;gap:8px;align-items:center}
h1{font-size:16px;margin:0 8px 0 0}
button,input{font:inherit;color:inherit;background:var(--panel);border:1px solid var(--line);border-radius:4px;padding:3px 9px}
input{min-width:8em;flex:1 1 12em;max-width:26em}
:focus-visible{outline:3px solid var(--focus);outline-offset:1px}
#range,#found{color:var(--soft);font-variant-numeric:tabular-nums}
#legend{display:flex;flex-wrap:wrap;gap:4px 14px;padding:6px 12px;color:var(--soft);font-size:12px}
#legend svg{vertical-align:-2px;margin-right:4px}
#chart{display:block;width:100%;touch-action:pan-y}
#chart text{fill:var(--text);font-size:11px}
#chart .soft{fill:var(--soft)}
#chart .node{font-weight:600;font-size:13px}
#chart .mark{cursor:pointer}
#log{border-top:1px solid var(--line);background:var(--panel);padding:8px 12px;max-height:38vh;overflow:auto;position:sticky;bottom:0}
#log h2{font-size:13px;margin:0 0 4px}
#log ol{list-style:none;margin:0;padding:0;font:12px/1.5 ui-monospace,monospace}
#log li{white-space:pre-wrap;overflow-wrap:anywhere}
#log li.here{font-weight:700;border-left:3px solid var(--focus);padding-left:5px}
#log li.bad{color:var(--hit)}
#note{padding:2px 12px;color:var(--hit)}
@media print{header button,header input,#log,#found{display:none}:root{--back:#fff;--text:#000;--soft:#333;--line:#888}header{position:static}}
</style></head><body>
<header><h1>Backhaul timeline</h1>
<button id="out" title="Zoom out (-)" aria-label="zoom out">&minus;</button>
<button id="in" title="Zoom in (+)" aria-label="zoom in">+</button>
<button id="left" title="Earlier (left arrow)" aria-label="earlier">&larr;</button>
<button id="right" title="Later (right arrow)" aria-label="later">&rarr;</button>
<button id="all" title="Everything (0)">All</button>
<input id="search" type="search" placeholder="Search the log ( / )" aria-label="search the log">
<button id="prev" title="Hit before (p)" aria-label="hit before">&lsaquo;</button>
<button id="next" title="Next hit (n)" aria-label="next hit">&rsaquo;</button>
<span id="found" role="status" aria-live="polite"></span><span id="range"></span>
<button id="theme" title="Dark or light (d)">Dark / light</button></header>
<p id="note" hidden></p>
<div id="legend" aria-label="legend"></div>
<svg id="chart" role="img" tabindex="0" aria-label="State of each interface over time. Arrow keys move, plus and minus zoom, n and p go through what is found, j and k through the marks."></svg>
<section id="log" aria-label="log lines" aria-live="polite"><h2>Click a mark, a bar or an outage, or press j</h2><ol></ol></section>
<noscript>This page draws with JavaScript. The same as text: backhaulctl timeline --text</noscript>
<script type="application/json" id="data">)page";

const char TIMELINE_PAGE_TAIL[] = R"page(</script>
<script>
"use strict";
const D=JSON.parse(document.getElementById("data").textContent),NS="http://www.w3.org/2000/svg",$=i=>document.getElementById(i);
// Okabe and Ito's colours; the pattern tells the same without any.
const LOOK={0:["#bdbdbd",""],3:["#e69f00","slash"],4:["#56b4e9","dots"],5:["#f0e442","cross"],6:["#cc79a7","back"],7:["#009e73",""],
10:["#f0e442","dots"],11:["#d55e00","cross"],12:["#dddddd",""],13:["#dddddd",""],14:["#56b4e9","dots"],15:["#0072b2",""],16:["#999999","back"]};
const SHAPE={d:["driver event","M0 -5L5 4H-5Z"],t:["timeout","M-5 0A5 5 0 1 0 5 0A5 5 0 1 0 -5 0"],c:["command","M-4 -4H4V4H-4Z"],
m:["message","M0 -5L5 0L0 5L-5 0Z"],e:["error","M-5 -3L-3 -5L0 -2L3 -5L5 -3L2 0L5 3L3 5L0 2L-3 5L-5 3L-2 0Z"],w:["worker","M0 -6L2 -2L6 -1L3 2L4 6L0 4L-4 6L-3 2L-6 -1L-2 -2Z"]};
const FILL={d:"#0072b2",t:"#d55e00",c:"#009e73",m:"#56b4e9",e:"#d55e00",w:"#cc79a7",u:"#888"};
const LEFT=110,LANE=18,ROW=17;
let from=0,to=Math.max(D.length,1),hits=[],hit=-1,marks=[],mark=-1,chosen=null;
for(const n of D.nodes){const e=n.entries;n.time=[];n.text=[];n.bad=[];let t=0;
  for(let i=0;i<e.length;i+=2){t+=e[i];n.time.push(t);n.bad.push(e[i+1]<0);n.text.push(e[i+1]<0?-e[i+1]-1:e[i+1])}}
function el(name,attributes,parent,text){const x=document.createElementNS(NS,name);for(const a in attributes)x.setAttribute(a,attributes[a]);
  if(text!==undefined)x.textContent=text;if(parent)parent.appendChild(x);return x}
function two(n){return String(n).padStart(2,"0")}
function clock(s,day){const d=new Date((D.first+s)*1000);return(day?d.toISOString().slice(0,10)+" ":"")+two(d.getUTCHours())+":"+two(d.getUTCMinutes())+":"+two(d.getUTCSeconds())}
function span(s){return s<60?s+" s":s<3600?Math.floor(s/60)+" min "+s%60+" s":Math.floor(s/3600)+" h "+Math.floor(s%3600/60)+" min"}
function patterns(parent){const defs=el("defs",{},parent);
  const add=(id,d)=>{const p=el("pattern",{id,width:6,height:6,patternUnits:"userSpaceOnUse"},defs);el("path",{d,stroke:"#000","stroke-opacity":.45,"stroke-width":1,fill:"none"},p)};
  add("slash","M0 6L6 0");add("back","M0 0L6 6");add("cross","M0 6L6 0M0 0L6 6");add("dots","M1 3h1.5M4 0.5h1.5");
  const o=el("pattern",{id:"outage",width:8,height:8,patternUnits:"userSpaceOnUse"},defs);el("rect",{width:8,height:8,fill:"#d55e00","fill-opacity":.13},o);
  el("path",{d:"M0 8L8 0",stroke:"#d55e00","stroke-opacity":.5},o)}
function bar(x,y,w,h,state,parent){const l=LOOK[state]||["#888",""];const r=el("rect",{x,y,width:w,height:h,fill:l[0]},parent);
  if(l[1])el("rect",{x,y,width:w,height:h,fill:"url(#"+l[1]+")","pointer-events":"none"},parent);return r}
function lower(a,v){let l=0,h=a.length;while(l<h){const m=l+h>>1;if(a[m]<v)l=m+1;else h=m}return l}
function step(){for(const s of[1,2,5,10,15,30,60,120,300,600,900,1800,3600,7200,14400,21600,43200,86400,172800,604800])if((to-from)/s<9)return s;return 2592000}
function draw(){const c=$("chart"),W=Math.max(c.clientWidth||document.body.clientWidth,280),left=W<600?70:LEFT,K=(W-left-8)/(to-from),X=t=>left+(t-from)*K;
  c.textContent="";patterns(c);marks=[];let y=24;const clip=el("clipPath",{id:"inside"},c.querySelector("defs"));
  const box=el("rect",{x:left,y:0,width:W-left-8,height:1},clip);const grid=el("g",{},c),body=el("g",{"clip-path":"url(#inside)"},c);
  for(const[ni,n]of D.nodes.entries()){el("text",{x:6,y:y+13,class:"node"},c,n.name);const top=y,my=y+ROW/2+2;y+=ROW+4;
    for(const l of n.lanes){el("text",{x:14,y:y+13,class:"soft"},c,l.name);const s=l.spans;let px=-9,ps=-1;
      for(let i=0;i<s.length;i+=3){const b=s[i],d=s[i+1],st=s[i+2];if(b+d<from||b>to)continue;
        const x0=Math.max(X(b),left),x1=Math.min(X(b+d),W-8);if(x1-px<1&&ps===st)continue;px=x1;ps=st;
        const r=bar(x0,y+2,Math.max(x1-x0,1),LANE-4,st,body);r.setAttribute("data-state",D.states[st]);
        if(x1-x0>5){el("title",{},r,n.name+" "+l.name+": "+D.states[st]+" from "+clock(b,1)+" for "+span(d));r.onclick=()=>show(ni,b)}
        if(x1-x0>150)el("text",{x:x0+4,y:y+13,style:"fill:#000","pointer-events":"none"},body,D.states[st])}
      y+=LANE}
    for(const o of n.outages){if(o[1]<from||o[0]>to)continue;const r=el("rect",{x:X(o[0]),y:top,width:Math.max((o[1]-o[0])*K,2),height:y-top,fill:"url(#outage)",class:"outage"},body);
      body.insertBefore(r,body.firstChild);el("title",{},r,"out from "+clock(o[0],1)+" for "+span(o[1]-o[0])+(o[2]?" and still":"")+": "+o[3]);r.onclick=()=>show(ni,o[0])}
    const last={};const a=lower(n.time,from);
    for(let i=a;i<n.time.length&&n.time[i]<=to;i++){let g=D.groups[n.text[i]];if(n.bad[i])g="e";if(!SHAPE[g])continue;
      const x=X(n.time[i]);const key=g;if(x-(last[key]===undefined?-99:last[key])<3)continue;last[key]=x;
      marks.push([ni,i]);const m=el("path",{d:SHAPE[g][1],transform:"translate("+x.toFixed(1)+" "+my+")",fill:FILL[g],stroke:"var(--back)","stroke-width":.7,class:"mark"},body);
      m.addEventListener("click",()=>show(ni,n.time[i],i));el("title",{},m,clock(n.time[i])+" "+D.texts[n.text[i]])}
    y+=8;el("line",{x1:0,x2:W,y1:y-4,y2:y-4,stroke:"var(--line)"},grid)}
  const s=step();for(let t=Math.ceil((from+D.first)/s)*s-D.first;t<=to;t+=s){const x=X(t);el("line",{x1:x,x2:x,y1:18,y2:y,stroke:"var(--line)","stroke-dasharray":"2 3"},grid);
    el("text",{x:x+2,y:13,class:"soft"},grid,s>=86400?clock(t,1).slice(0,10):clock(t))}
  for(const h of hits){const t=D.nodes[h[0]].time[h[1]];if(t>=from&&t<=to)el("path",{d:"M"+X(t)+" 14l4 8h-8Z",fill:"var(--hit)"},body)}
  if(chosen!==null&&chosen>=from&&chosen<=to)el("line",{x1:X(chosen),x2:X(chosen),y1:16,y2:y,stroke:"var(--focus)","stroke-width":2},body);
  box.setAttribute("height",y);c.setAttribute("height",y);c.setAttribute("viewBox","0 0 "+W+" "+y);
  $("range").textContent=clock(from,1)+" to "+clock(to,1)+" ("+span(Math.round(to-from))+")"}
function move(a,b){const w=Math.min(Math.max(b-a,5),Math.max(D.length,5));a=Math.min(Math.max(a,0),Math.max(D.length-w,0));from=a;to=a+w;draw()}
function zoom(f,at){if(at===undefined)at=chosen!==null&&chosen>=from&&chosen<=to?chosen:(from+to)/2;move(at-(at-from)*f,at+(to-at)*f)}
function show(ni,t,i){const n=D.nodes[ni];if(i===undefined)i=Math.min(lower(n.time,t),n.time.length-1);if(i<0)return;chosen=n.time[i];
  const list=$("log").querySelector("ol");$("log").querySelector("h2").textContent=n.name+" at "+clock(n.time[i],1);list.textContent="";
  for(let k=Math.max(0,i-12);k<Math.min(n.time.length,i+20);k++){const x=document.createElement("li");x.textContent=clock(n.time[k])+"  "+D.texts[n.text[k]];
    if(k===i)x.className="here";if(n.bad[k])x.className+=" bad";list.appendChild(x)}
  if(chosen<from||chosen>to)move(chosen-(to-from)/2,chosen+(to-from)/2);else draw();
  const here=list.querySelector(".here");if(here)$("log").scrollTop=here.offsetTop-$("log").offsetTop-60}
function search(){const q=$("search").value.toLowerCase();hits=[];hit=-1;if(q){const yes=D.texts.map(t=>t.toLowerCase().includes(q));
    D.nodes.forEach((n,ni)=>n.text.forEach((t,i)=>{if(yes[t])hits.push([ni,i])}));hits.sort((a,b)=>D.nodes[a[0]].time[a[1]]-D.nodes[b[0]].time[b[1]])}
  $("found").textContent=q?hits.length+" found":"";draw()}
function go(d){if(!hits.length)return;hit=(hit+d+hits.length)%hits.length;const h=hits[hit];$("found").textContent=hit+1+" of "+hits.length;show(h[0],0,h[1])}
function pass(d){if(!marks.length)return;const t=chosen===null?from:chosen;const order=marks.map(m=>[D.nodes[m[0]].time[m[1]],m]).sort((a,b)=>a[0]-b[0]);
  const next=d>0?order.find(m=>m[0]>t):order.reverse().find(m=>m[0]<t);if(next)show(next[1][0],0,next[1][1])}
function theme(){const r=document.documentElement;r.dataset.theme=r.dataset.theme==="dark"?"light":"dark"}
document.documentElement.dataset.theme=matchMedia("(prefers-color-scheme: dark)").matches?"dark":"light";
const KEYS={"+":()=>zoom(.5),"=":()=>zoom(.5),"-":()=>zoom(2),"0":()=>move(0,D.length),ArrowLeft:()=>move(from-(to-from)/4,to-(to-from)/4),
  ArrowRight:()=>move(from+(to-from)/4,to+(to-from)/4),n:()=>go(1),p:()=>go(-1),j:()=>pass(1),k:()=>pass(-1),d:theme,"/":()=>$("search").focus()};
addEventListener("keydown",e=>{if(e.target===$("search")){if(e.key==="Enter"){go(e.shiftKey?-1:1);e.preventDefault()}if(e.key==="Escape")$("chart").focus();return}
  if(e.ctrlKey||e.metaKey||e.altKey||!KEYS[e.key])return;KEYS[e.key]();e.preventDefault()});
$("in").onclick=KEYS["+"];$("out").onclick=KEYS["-"];$("left").onclick=KEYS.ArrowLeft;$("right").onclick=KEYS.ArrowRight;$("all").onclick=KEYS["0"];
$("next").onclick=KEYS.n;$("prev").onclick=KEYS.p;$("theme").onclick=theme;$("search").oninput=search;
$("chart").addEventListener("wheel",e=>{if(!e.ctrlKey)return;e.preventDefault();const r=$("chart").getBoundingClientRect(),l=r.width<600?70:LEFT;zoom(e.deltaY<0?.8:1.25,from+(e.clientX-r.left-l)/(r.width-l-8)*(to-from))},{passive:false});
let drag=null;$("chart").addEventListener("pointerdown",e=>{drag=[e.clientX,from,to]});
addEventListener("pointermove",e=>{if(drag&&e.buttons===1&&Math.abs(e.clientX-drag[0])>4){const d=(drag[0]-e.clientX)/$("chart").clientWidth*(drag[2]-drag[1]);move(drag[1]+d,drag[2]+d)}});
addEventListener("pointerup",()=>{drag=null});addEventListener("resize",draw);addEventListener("beforeprint",draw);
const legend=$("legend");for(const s in LOOK){const x=document.createElement("span"),g=el("svg",{width:22,height:12,"aria-hidden":"true"},x);bar(0,0,22,12,s,g);x.append(D.states[s]);legend.appendChild(x)}
for(const g in SHAPE){const x=document.createElement("span"),v=el("svg",{width:14,height:12,viewBox:"-7 -6 14 12","aria-hidden":"true"},x);el("path",{d:SHAPE[g][1],fill:FILL[g]},v);x.append(SHAPE[g][0]);legend.appendChild(x)}
{const x=document.createElement("span"),v=el("svg",{width:22,height:12,"aria-hidden":"true"},x);el("rect",{width:22,height:12,fill:"url(#outage)"},v);x.append("outage");legend.appendChild(x)}
if(D.left_out){$("note").hidden=false;$("note").textContent=D.left_out+" entries did not fit into this page: give fewer logs."}
draw();
</script></body></html>
)page";
