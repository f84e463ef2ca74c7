// The page of a mesh in the lab: asks the lab's HTTP interface (GET / on its Unix socket lists it)
// and draws what it says. State changes come by the event stream, all else is asked once a second.
"use strict";

const token = location.hash.slice(1);
const TABS = ["status", "log", "lines", "files", "steps"];
const LANE_HEIGHT = 16;
const NAME_WIDTH = 110;
const SPEEDS = [0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000];
// What a state means to who looks: class, and a word for the legend.
const KINDS = {
  idle: "idle, down", trying: "connecting", configuring: "configuring", ready: "ready",
  parked: "parked", standby: "standby", radar: "radar",
};
const STATE_KINDS = {
  CONNECTING_BACKHAUL_AP: "trying", CONNECTING_TARGET_BACKHAUL_AP: "trying",
  CONNECT_WITH_BACKHAUL_AP: "configuring", ETH_BACKHAUL_CONNECTED: "configuring",
  BACKHAUL_READY: "ready", ETH_BACKHAUL_READY: "ready", CONNECT_PENDING: "parked",
  ETH_BACKHAUL_STANDBY: "standby", DFS_MONITORING: "radar", DFS_BLOCKING: "radar",
};
// Verbs with a button and a key.
const BUTTONS = [
  { key: "d", label: "Deauth", verb: (node) => ["deauth", node.name] },
  { key: "c", label: "Cable in", verb: (node) => ["cable-in", node.name] },
  { key: "C", label: "Cable out", verb: (node) => ["cable-out", node.name] },
  { key: "r", label: "Reboot", verb: (node) => ["reboot", node.name] },
  { key: "p", label: "Power", verb: (node) => [node.power === "off" ? "power-on" : "power-off", node.name] },
  { key: "x", label: "Radar", verb: (node) => ["radar", node.name] },
  { key: "k", label: "Kill worker", verb: (node) => ["kill-worker", node.name] },
];

const model = {
  status: null, links: { air: [], cables: [] }, chosen: null, tab: "status",
  lanes: new Map(),  // "e1 ath0" -> [{from, state}]
  unshown: true,     // the chosen node has written log lines since its log was shown
  marks: [],         // {seconds, node, kind, text}
  next: 0, scale: 2, asked: false,
};

const $ = (id) => document.getElementById(id);
const clock = (seconds) => {
  const two = (n) => String(n).padStart(2, "0");
  const hours = Math.floor(seconds / 3600);
  const rest = `${hours ? two(Math.floor(seconds / 60) % 60) : Math.floor(seconds / 60)}:${two(seconds % 60)}`;
  return hours ? `${hours}:${rest}` : rest;
};
const kindOf = (state) => STATE_KINDS[state] || "idle";
const nodeOf = (name) => model.status && model.status.nodes.find((node) => node.name === name);

function problem(text) {
  $("problem").textContent = text;
  $("problem").hidden = !text;
}

async function ask(path, method = "GET", body = undefined) {
  const answer = await fetch(path, {
    method, headers: { Authorization: `Bearer ${token}` },
    body: body === undefined ? undefined : JSON.stringify(body),
  });
  return { good: answer.ok, body: await answer.json() };
}

async function act(words) {
  $("said").textContent = `${words.join(" ")} ...`;
  const answer = await ask("/steps", "POST", { words });
  $("said").textContent = `${words.join(" ")}: ${answer.body.text || "done"}`;
  await refresh();
}

const pace = (change) => ask("/speed", "PUT", change).then(refresh);

function faster(by) {
  const now = Number(model.status.speed) || 1;
  const at = SPEEDS.findIndex((speed) => speed >= now) + by;
  return pace({ speed: at >= SPEEDS.length ? "fastest" : String(SPEEDS[Math.max(0, at)]) });
}

// --- Drawing of nodes and links

const force = d3.layout.force().charge(-1500).linkDistance(110).gravity(0.15);
const places = new Map();

function drawingData() {
  const box = $("drawing").getBoundingClientRect();
  const nodes = model.status.nodes.map((node, at, all) => {
    // All begin on a circle in their order: the same mesh always looks the same.
    const angle = (2 * Math.PI * at) / all.length;
    const place = places.get(node.name) || {
      name: node.name,
      x: box.width * (0.5 - 0.3 * Math.cos(angle)), y: box.height * (0.5 - 0.3 * Math.sin(angle)),
    };
    places.set(node.name, place);
    return Object.assign(place, { node });
  });
  const links = [];
  const link = (a, b, kind, text) => {
    const source = places.get(a), target = places.get(b);
    if (source && target) links.push({ source, target, kind, text, key: `${a} ${b} ${kind}` });
  };
  const heard = new Map();
  for (const air of model.links.air) {
    const key = `${air.a} ${air.b}`;
    if (!heard.has(key) || air.band === "5h") heard.set(key, air);
  }
  const joined = new Map();  // pairs with an uplink by air, whose line tells the signal
  for (const node of model.status.nodes) {
    if (node.parent && node.uplink !== "eth") joined.set([node.name, node.parent].sort().join(" "), node);
  }
  for (const air of heard.values()) {
    const node = joined.get([air.a, air.b].sort().join(" "));
    if (node) link(node.name, node.parent, "uplink", `${node.uplink} ${air.signal} dBm`);
    else link(air.a, air.b, "air", `${air.signal} dBm`);
  }
  for (const cable of model.links.cables) link(cable.node, cable.peer, "cable", "cable");
  return { nodes, links };
}

function nodeClass(node) {
  const out = node.outage_seconds >= 0 ? "out" : "";
  const state = node.power !== "on" ? "off" : node.is_root ? "ready" : node.status;
  return `node ${state} ${out} ${node.name === model.chosen ? "chosen" : ""}`;
}

function nodeSays(node) {
  const parts = [node.name, node.power === "on" ? node.role : `power ${node.power}`];
  if (!node.is_root && node.power === "on") {
    parts.push(node.status || "no status", node.hops >= 0 ? `${node.hops} ${node.hops === 1 ? "hop" : "hops"}` : "no way to the root");
    if (node.led) parts.push(`LED ${node.led}`);
    if (node.outage_seconds >= 0) parts.push(`out for ${clock(node.outage_seconds)}`);
  }
  return parts.join(", ");
}

function draw() {
  const svg = d3.select("#drawing");
  const { nodes, links } = drawingData();
  const shape = JSON.stringify([nodes.map((n) => n.name), links.map((l) => l.key)]);
  const box = $("drawing").getBoundingClientRect();
  if (svg.select(".links").empty()) {
    svg.append("g").attr("class", "links");
    svg.append("g").attr("class", "nodes");
  }
  const lines = svg.select(".links").selectAll("g").data(links, (link) => link.key);
  const entered = lines.enter().append("g");
  entered.append("line");
  entered.append("text").attr("class", "small");
  lines.exit().remove();
  lines.select("line").attr("class", (link) => link.kind);
  lines.select("text").text((link) => link.text);

  const circles = svg.select(".nodes").selectAll("g.node").data(nodes, (place) => place.name);
  const group = circles.enter().append("g").attr("tabindex", 0).attr("role", "button")
    .on("click", (place) => choose(place.name))
    .on("keydown", (place) => { if (d3.event.key === "Enter") choose(place.name); });
  group.append("circle").attr("class", "halo").attr("r", 24);
  group.append("circle").attr("class", "disc").attr("r", 18);
  group.append("text").attr("class", "name").attr("text-anchor", "middle").attr("y", 4);
  group.append("text").attr("class", "small").attr("text-anchor", "middle").attr("y", 32);
  circles.exit().remove();
  circles.attr("class", (place) => nodeClass(place.node))
    .attr("aria-label", (place) => nodeSays(place.node))
    .attr("aria-pressed", (place) => place.name === model.chosen);
  circles.select(".name").text((place) => place.name);
  circles.select(".small").text((place) => {
    const node = place.node;
    return node.outage_seconds >= 0 ? `out ${clock(node.outage_seconds)}`
      : node.is_root ? "root" : (node.status || node.power);
  });
  const tick = () => {
    const inside = (value, most) => Math.max(30, Math.min(most - 40, value));
    for (const place of nodes) {
      place.x = inside(place.x, box.width);
      place.y = inside(place.y, box.height);
    }
    lines.select("line").attr("x1", (l) => l.source.x).attr("y1", (l) => l.source.y)
      .attr("x2", (l) => l.target.x).attr("y2", (l) => l.target.y);
    lines.select("text").attr("x", (l) => (l.source.x + l.target.x) / 2 + 8)
      .attr("y", (l) => (l.source.y + l.target.y) / 2 - (l.source.x > l.target.x === l.source.y > l.target.y ? 6 : -12));
    circles.attr("transform", (place) => `translate(${place.x},${place.y})`);
  };
  force.size([box.width, box.height]).nodes(nodes).links(links).on("tick", tick);
  if (shape !== draw.shape || box.width !== draw.width) {
    draw.shape = shape;
    draw.width = box.width;
    force.start();
    // Settled at once: a drawing that drifts cannot be clicked, and tells nothing more.
    for (let at = 0; at < 120; ++at) force.tick();
    force.stop();
  }
  tick();
}

// --- Lanes

function laneAdd(event) {
  const words = event.text.split(" ");  // "ath0 from A to B"
  const key = `${event.node} ${words[0]}`;
  if (!model.lanes.has(key)) model.lanes.set(key, [{ from: 0, state: words[2] }]);
  model.lanes.get(key).push({ from: event.seconds, state: words[4] });
}

function laneList() {
  const list = [];
  for (const node of model.status.nodes) {
    const lanes = node.links.map((link) => `${node.name} ${link.interface}`)
      .filter((key) => model.lanes.has(key));
    list.push({ name: node.name, node, bars: null });
    for (const key of lanes) list.push({ name: key.split(" ")[1], node, bars: model.lanes.get(key) });
  }
  return list;
}

function drawLanes() {
  const end = Math.max(model.status.seconds, 1);
  const x = (seconds) => NAME_WIDTH + seconds * model.scale;
  const lanes = laneList();
  const width = x(end) + 40, height = lanes.length * LANE_HEIGHT + 22;
  const svg = d3.select("#lanes svg").attr("width", width).attr("height", height)
    .style("width", `${width}px`);
  const atEnd = $("lanes").scrollLeft + $("lanes").clientWidth >= $("lanes").scrollWidth - 60;
  svg.selectAll("*").remove();
  const wanted = [1, 2, 5, 10, 30, 60, 300, 600, 1800, 3600, 7200, 21600].find((s) => s * model.scale >= 70) || 86400;
  for (let at = 0; at <= end; at += wanted) {
    svg.append("line").attr("class", "grid").attr({ x1: x(at), x2: x(at), y1: 14, y2: height });
    svg.append("text").attr("class", "small").attr({ x: x(at) + 2, y: 10 }).text(clock(at));
  }
  lanes.forEach((lane, index) => {
    const top = 16 + index * LANE_HEIGHT;
    svg.append("text").attr({ x: lane.bars ? 24 : 4, y: top + 12 }).text(lane.name);
    if (!lane.bars) {
      for (const outage of lane.node.outage_list) {
        const to = outage.to >= 0 ? outage.to : end;
        svg.append("rect").attr("class", "outage")
          .attr({ x: x(outage.from), y: top, width: Math.max(1, (to - outage.from) * model.scale),
                  height: LANE_HEIGHT * lanes.filter((other) => other.node === lane.node).length })
          .append("title").text(`${lane.name} out from ${clock(outage.from)} to ${clock(to)}`);
      }
      for (const mark of model.marks.filter((mark) => mark.node === lane.name)) {
        svg.append("path").attr("class", `happened ${mark.kind}`).attr("tabindex", -1)
          .attr("d", d3.svg.symbol().size(36).type(mark.kind === "verb" ? "triangle-down" : mark.kind === "violation" ? "cross" : "circle"))
          .attr("transform", `translate(${x(mark.seconds)},${top + 8})`)
          .on("click", () => { $("mark").textContent = `${clock(mark.seconds)} ${mark.node}: ${mark.text}`; })
          .append("title").text(`${clock(mark.seconds)} ${mark.text}`);
      }
      return;
    }
    lane.bars.forEach((bar, at) => {
      const to = at + 1 < lane.bars.length ? lane.bars[at + 1].from : end;
      const wide = Math.max(1, (to - bar.from) * model.scale);
      svg.append("rect").attr("class", `bar s-${kindOf(bar.state)}`)
        .attr({ x: x(bar.from), y: top + 2, width: wide, height: LANE_HEIGHT - 4 })
        .append("title").text(`${lane.node.name} ${lane.name}: ${bar.state} from ${clock(bar.from)} to ${clock(to)}`);
      if (wide > 8 * bar.state.length) {
        svg.append("text").attr("class", "state").attr({ x: x(bar.from) + 3, y: top + 12 }).text(bar.state);
      }
    });
  });
  if (atEnd) $("lanes").scrollLeft = $("lanes").scrollWidth;
}

// --- One node

function row(table, name, text) {
  const line = table.insertRow();
  const head = document.createElement("th");
  head.scope = "row";
  head.textContent = name;
  line.append(head);
  line.insertCell().textContent = text;
}

function statusPanel(panel, node) {
  const table = document.createElement("table");
  row(table, "power", node.power);
  row(table, "role", node.role || "-");
  row(table, "status", node.status || "no status file");
  row(table, "uplink", node.parent ? `${node.uplink} to ${node.parent}` : node.uplink);
  row(table, "hops", node.hops >= 0 ? node.hops : "-");
  row(table, "LED", node.led || "-");
  row(table, "root's address", node.root_address || "-");
  row(table, "service APs", `${node.service_aps_up} of ${node.service_aps}`);
  row(table, "outages", `${node.outages}, ${clock(node.outage_seconds_all)} in all`);
  for (const link of node.links) {
    row(table, link.interface, `${link.state_name} for ${clock(link.seconds)}, losses ${link.losses}` +
      (link.parked ? ", parked" : "") + (link.carries ? ", carries" : ""));
  }
  panel.replaceChildren(table);
}

function linesPanel(panel, lines) {
  const wanted = $("find").value.toLowerCase();
  const shown = lines.filter((line) => line.text.toLowerCase().includes(wanted));
  panel.replaceChildren(...shown.map((line) => {
    const paragraph = document.createElement("p");
    const time = document.createElement("span");
    time.className = "t";
    time.textContent = `${clock(Math.max(0, line.seconds))}  `;
    const text = document.createElement("span");
    text.textContent = line.text;
    if (wanted) text.className = "hit";
    paragraph.append(time, text);
    return paragraph;
  }));
  $("find").setAttribute("aria-description", `${shown.length} lines`);
  panel.scrollTop = panel.scrollHeight;
}

function filesPanel(panel, files) {
  const open = new Set([...panel.querySelectorAll("details[open]")].map((one) => one.dataset.path));
  panel.replaceChildren(...files.map((file) => {
    const details = document.createElement("details");
    details.dataset.path = file.path;
    details.open = open.has(file.path);
    const summary = document.createElement("summary");
    summary.textContent = `${file.path} (${file.size})`;
    const text = document.createElement("pre");
    text.textContent = file.text;
    details.append(summary, text);
    return details;
  }));
}

function stepsPanel(panel, steps) {
  if (!steps.length) {
    panel.textContent = "The scenario has no steps: type some, or press the buttons.";
    return;
  }
  panel.replaceChildren(...steps.map((step) => {
    const line = document.createElement("p");
    line.className = step.fate;
    const mark = { good: "✓", failed: "✗", waiting: "·" }[step.fate];
    line.textContent = `${mark} ${step.line}: ${step.text}` +
      (step.seconds !== undefined ? `  (${clock(step.seconds)}${step.found ? `, found: ${step.found}` : ""})` : "");
    return line;
  }));
}

async function showPanel() {
  const node = nodeOf(model.chosen), panel = $("panel"), tab = model.tab;
  model.unshown = false;
  for (const name of TABS) $(`tab-${name}`).setAttribute("aria-selected", name === tab);
  panel.setAttribute("aria-labelledby", `tab-${tab}`);
  $("find").hidden = tab !== "log" && tab !== "lines";
  if (tab === "steps") {
    stepsPanel(panel, (await ask("/steps")).body.steps);
  } else if (!node) {
    panel.textContent = "Choose a node in the drawing, or with the arrow keys.";
  } else if (tab === "status") {
    statusPanel(panel, node);
  } else {
    const path = `/nodes/${encodeURIComponent(node.name)}/${tab}?last=2000`;
    const answer = await ask(tab === "files" ? path.split("?")[0] : path);
    if (model.tab !== tab || model.chosen !== node.name) return;
    if (tab === "files") filesPanel(panel, answer.body.files);
    else linesPanel(panel, answer.body.lines);
  }
}

function choose(name) {
  model.chosen = name;
  $("node-title").textContent = nodeSays(nodeOf(name));
  draw();
  return showPanel();
}

function chooseNext(by) {
  const names = model.status.nodes.map((node) => node.name);
  const at = (names.indexOf(model.chosen) + by + names.length) % names.length;
  return choose(names[at]);
}

// --- The whole page

function show() {
  const status = model.status;
  const ready = status.nodes.filter((node) => node.status === "ready").length;
  $("title").textContent = status.title || "A mesh in the lab";
  document.title = `${status.title || "mesh"} ${clock(status.seconds)}`;
  $("headline").textContent = `${clock(status.seconds)}, ${status.nodes.length} nodes, ${ready} ready, ` +
    `steps ${status.steps_done} of ${status.steps}, violations ${status.violations}`;
  $("pause").setAttribute("aria-pressed", status.paused);
  $("speed").textContent = status.paused ? "paused" : status.speed;
  if (model.chosen) $("node-title").textContent = nodeSays(nodeOf(model.chosen));
  draw();
  drawLanes();
}

async function refresh() {
  if (model.asked) return;
  model.asked = true;
  try {
    const [status, links] = await Promise.all([ask("/status"), ask("/links")]);
    if (!status.good) {
      problem(status.body.text || "the mesh does not answer");
      return;
    }
    problem(status.body.stalled ? `time stands still: ${status.body.stalled}` : "");
    model.status = status.body;
    model.links = links.body;
    show();
    const isDue = model.tab === "log" ? model.unshown : model.tab !== "files";
    if (isDue && !window.getSelection().toString()) await showPanel();
  } catch (failed) {
    problem("the mesh is down, or cannot be reached");
  } finally {
    model.asked = false;
  }
}

function eventTake(event) {
  if (event.kind === "state") laneAdd(event);
  else if (event.kind !== "log") model.marks.push(event);
  else if (event.node === model.chosen) model.unshown = true;
  if (event.number !== undefined) model.next = event.number + 1;
}

// The stream ends with the mesh, or when the machine sleeps: then it goes on where it stopped.
async function listen() {
  for (;;) {
    try {
      const answer = await fetch(`/events?from=${model.next}`, { headers: { Authorization: `Bearer ${token}` } });
      const reader = answer.body.pipeThrough(new TextDecoderStream()).getReader();
      let rest = "";
      for (;;) {
        const { done, value } = await reader.read();
        if (done) break;
        const lines = (rest + value).split("\n");
        rest = lines.pop();
        lines.filter(Boolean).forEach((line) => eventTake(JSON.parse(line)));
      }
    } catch (failed) {
      problem("the mesh is down, or cannot be reached");
    }
    await new Promise((again) => setTimeout(again, 2000));
  }
}

function zoom(by) {
  model.scale = Math.max(0.01, Math.min(40, model.scale * by));
  drawLanes();
}

const KEYS = {
  " ": () => pace({ paused: !model.status.paused }), s: () => act(["wait", "1"]),
  "+": () => faster(1), "-": () => faster(-1), a: () => pace({ speed: "auto", paused: false }),
  "[": () => zoom(0.5), "]": () => zoom(2), "?": () => $("keys").showModal(),
  "/": () => { $("find").hidden = false; $("find").focus(); }, ":": () => $("words").focus(),
  ArrowRight: () => chooseNext(1), ArrowDown: () => chooseNext(1),
  ArrowLeft: () => chooseNext(-1), ArrowUp: () => chooseNext(-1),
};
TABS.forEach((name, at) => { KEYS[String(at + 1)] = () => tab(name); });
for (const button of BUTTONS) {
  KEYS[button.key] = () => model.chosen && act(button.verb(nodeOf(model.chosen)));
}

function tab(name) {
  model.tab = name;
  return showPanel();
}

function buttonsMake() {
  for (const button of BUTTONS) {
    const made = document.createElement("button");
    made.textContent = button.label;
    made.title = button.key;
    made.id = `verb-${button.key === "C" ? "cable-out" : button.key}`;
    made.addEventListener("click", KEYS[button.key]);
    $("verbs").append(made);
  }
  for (const [id, key] of [["pause", " "], ["step", "s"], ["slower", "-"], ["faster", "+"], ["auto", "a"],
    ["help", "?"], ["narrower", "["], ["wider", "]"]]) {
    $(id).addEventListener("click", () => KEYS[key]());
  }
  TABS.forEach((name) => $(`tab-${name}`).addEventListener("click", () => tab(name)));
  $("find").addEventListener("input", showPanel);
  $("typed").addEventListener("submit", (event) => {
    event.preventDefault();
    const words = $("words").value.trim().split(/\s+/).filter(Boolean);
    if (words.length) act(words);
  });
  for (const [kind, word] of Object.entries(KINDS)) {
    const entry = document.createElement("span");
    const box = document.createElement("i");
    box.className = `s-${kind}`;
    entry.append(box, word);
    $("legend").append(entry);
  }
}

document.addEventListener("keydown", (event) => {
  const typing = event.target.matches("input, textarea") || $("keys").open;
  const scrolls = event.target.id === "lanes" || event.target.id === "panel";
  if (typing || event.ctrlKey || event.altKey || event.metaKey) {
    if (event.key === "Escape") event.target.blur();
    return;
  }
  // A button keeps its own space and Enter, what scrolls its arrows.
  if ((event.target.matches("button") && event.key === " ") || (scrolls && event.key.startsWith("Arrow"))) return;
  if (KEYS[event.key] && model.status) {
    event.preventDefault();
    KEYS[event.key]();
  }
});

async function begin() {
  buttonsMake();
  addEventListener("resize", () => model.status && show());
  const verbs = await ask("/verbs");
  if (!verbs.good) {
    problem(`${verbs.body.text}: use the whole address that the lab printed`);
    return;
  }
  for (const verb of verbs.body.verbs) {
    const option = document.createElement("option");
    option.value = verb.usage;
    option.label = verb.help;
    $("usages").append(option);
  }
  listen();
  await refresh();
  setInterval(refresh, 1000);
}

begin();
