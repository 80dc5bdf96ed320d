// The page of `lisp_console watch`. The server sends whole states (console/watch/page_state.h);
// everything here shows the last one. Texts from programs and drawings become text nodes, never
// markup, and the drawing is parsed by itself before it is shown.

const byId = (id) => document.getElementById(id);
const SVG = "http://www.w3.org/2000/svg";
const SNAP_PIXELS = 12;
const DRAG_PIXELS = 4;

let state = {status: "connecting", files: [], messages: [], calls: [], entities: {}};
let panels = {};       // "before" and "after": {group, frame, mapping}.
let showsBefore = false;
let view = null;       // {x, y, width, height} in the picture's own units; null: all of it.
let shownFile = 0;
let lit = {handles: [], lines: []};  // The handles, and lines as {file, line, end, note}.
let chosen = [];       // Handles that answer a question for a selection.

// --- The drawing -------------------------------------------------------------------------------

const sheet = byId("sheet").attachShadow({mode: "open"});
const svg = document.createElementNS(SVG, "svg");
const overlay = document.createElementNS(SVG, "g");
svg.setAttribute("width", "100%");
svg.setAttribute("height", "100%");
svg.setAttribute("font-family", "DejaVu Sans, Verdana, sans-serif");
sheet.append(svg);

const ownStyle = new CSSStyleSheet();
ownStyle.replaceSync(`
  path, circle, rect, polygon, polyline, line { vector-effect: non-scaling-stroke }
  [data-handle] { cursor: pointer; pointer-events: stroke }
  text[data-handle], .hatch[data-handle] { pointer-events: all }
  .lit { stroke: #ff6f00; stroke-width: 3.4; filter: drop-shadow(0 0 3px #ff6f00) }
  text.lit { stroke: none; fill: #ff6f00 }
  svg { background: #ffffff }
  .pick { fill: none; stroke: #d81b60; stroke-width: 2 }
`);

// The page's policy allows no styles in markup, so those of the picture are set by script. In texts
// the server has escaped every bracket and quote, so what is taken out here is its own.
function adoptPicture(text) {
  panels = {};
  sheet.adoptedStyleSheets = [ownStyle];
  if (!text) return;
  const rules = [];
  const plain = text.replaceAll(/<style>([^]*?)<\/style>/g, (all, rule) => {
    rules.push(rule);
    return "";
  }).replaceAll(' style="', ' data-style="');
  const picture = new DOMParser().parseFromString(plain, "image/svg+xml");
  const style = new CSSStyleSheet();
  style.replaceSync(rules.join(""));
  sheet.adoptedStyleSheets = [style, ownStyle];
  const definitions = [...picture.querySelectorAll("defs")];
  for (const found of picture.querySelectorAll("g[data-panel]")) {
    const group = document.importNode(found, true);
    group.removeAttribute("clip-path");
    group.prepend(...definitions.map((each) => document.importNode(each, true)));
    for (const styled of group.querySelectorAll("[data-style]")) {
      styled.style.cssText = styled.dataset.style;
    }
    const [left, top, width, height] = found.dataset.frame.split(" ").map(Number);
    const [x, y, scale] = found.dataset.mapping.split(" ").map(Number);
    panels[found.dataset.panel] = {group, frame: {x: left, y: top, width, height}, x, y, scale};
  }
}

const panel = () => (showsBefore ? panels.before : panels.after) ?? panels.after;

// Both panels have the same size and scale, so a view is kept relative to the frame.
function showPanel() {
  const shown = panel();
  svg.replaceChildren();
  if (!shown) return;
  svg.append(shown.group, overlay);
  showView();
  showLit();
}

function showView() {
  const shown = panel();
  if (!shown) return;
  const {x, y, width, height} = view ?? {x: 0, y: 0, ...sizeOf(shown.frame)};
  svg.setAttribute("viewBox", `${shown.frame.x + x} ${shown.frame.y + y} ${width} ${height}`);
  showOverlay();
}

const sizeOf = ({width, height}) => ({width, height});

function zoom(factor, at) {
  const shown = panel();
  if (!shown) return;
  const now = view ?? {x: 0, y: 0, ...sizeOf(shown.frame)};
  const width = Math.min(Math.max(now.width * factor, shown.frame.width / 1e5),
                         shown.frame.width * 100);
  const used = width / now.width;
  const x = at ? at.x - shown.frame.x : now.x + now.width / 2;
  const y = at ? at.y - shown.frame.y : now.y + now.height / 2;
  view = {x: x + (now.x - x) * used, y: y + (now.y - y) * used, width, height: now.height * used};
  showView();
}

function pan(dx, dy) {
  const shown = panel();
  if (!shown) return;
  const now = view ?? {x: 0, y: 0, ...sizeOf(shown.frame)};
  view = {...now, x: now.x + dx, y: now.y + dy};
  showView();
}

function fit() {
  view = null;
  showView();
}

function toggleSide() {
  showsBefore = !showsBefore && Boolean(panels.before);
  byId("side").setAttribute("aria-pressed", showsBefore);
  showPanel();
}

// The place under the pointer: in the picture, and in the drawing.
function placeOf(event) {
  const matrix = svg.getScreenCTM();
  if (!matrix || !panel()) return null;
  const at = new DOMPoint(event.clientX, event.clientY).matrixTransform(matrix.inverse());
  return {at, point: toDrawing(at), pixel: 1 / matrix.a};
}

const toDrawing = ({x, y}) => ({x: (x - panel().x) / panel().scale, y: (panel().y - y) / panel().scale});
const toPicture = ({x, y}) => ({x: panel().x + x * panel().scale, y: panel().y - y * panel().scale});

// --- Picks -------------------------------------------------------------------------------------

let pointer = null;  // The last place of the pointer.

function snapAt(place) {
  let best = null;
  for (const [x, y, kind] of state.question?.snaps ?? []) {
    const at = toPicture({x, y});
    const distance = Math.hypot(at.x - place.at.x, at.y - place.at.y) / place.pixel;
    if (distance <= SNAP_PIXELS && (!best || distance < best.distance)) best = {x, y, kind, distance};
  }
  return best;
}

function shape(name, attributes) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries({class: "pick", ...attributes})) {
    element.setAttribute(key, value);
  }
  return element;
}

// The mark of a snap, and a line from the point that the question counts from.
function showOverlay() {
  overlay.replaceChildren();
  const question = state.question;
  if (!question || !pointer || question.call === "SSGET" || !panel()) return;
  const snap = snapAt(pointer);
  const at = snap ? toPicture(snap) : pointer.at;
  if (question.base) {
    const [x, y] = question.base;
    const from = toPicture({x, y});
    overlay.append(question.call === "GETCORNER"
      ? shape("path", {d: `M${from.x} ${from.y}H${at.x}V${at.y}H${from.x}Z`})
      : shape("path", {d: `M${from.x} ${from.y}L${at.x} ${at.y}`}));
  }
  if (snap) {
    const arm = 6 * pointer.pixel;
    overlay.append(shape("path", {"data-snap": snap.kind,
      d: `M${at.x - arm} ${at.y - arm}h${2 * arm}v${2 * arm}h${-2 * arm}Z`}));
  }
}

async function answer(line) {
  if (!state.question) return;
  await fetch(`answer?question=${state.question.number}`, {method: "POST", body: line});
}

function pick(place) {
  const point = snapAt(place) ?? place.point;
  answer(`${point.x},${point.y}`);
}

function showQuestion() {
  const question = state.question;
  byId("question").hidden = !question;
  byId("drawing").classList.toggle("asking", Boolean(question));
  if (!question) {
    chosen = [];
    return;
  }
  byId("ask").textContent = question.text;
  const refused = question.refused ? `"${question.refused}" cannot be understood: ` : "";
  byId("help").textContent = refused + (question.call === "SSGET"
    ? "click entities and answer, or type " : "click in the drawing, or type: ") + question.help;
  if (question.number !== showQuestion.last) {
    showQuestion.last = question.number;
    byId("answer").value = "";
    chosen = [];
  }
}

byId("question").addEventListener("submit", (event) => {
  event.preventDefault();
  answer(byId("answer").value);
});

// --- The program and its messages --------------------------------------------------------------

// The places at the beginning of lines, such as "a.lsp:4:3: ", as [{start, size, file, line}].
function placesIn(text) {
  const places = [];
  let start = 0;
  for (const line of text.split("\n")) {
    state.files.forEach((file, index) => {
      const match = line.startsWith(file.name) && /^:(\d+):\d+/.exec(line.slice(file.name.length));
      if (match) {
        places.push({start, size: file.name.length + match[0].length, file: index, line: +match[1],
                     text: line});
      }
    });
    start += line.length + 1;
  }
  return places;
}

function showMessages() {
  const shown = state.messages.map(({kind, text}) => {
    const pre = document.createElement("pre");
    pre.className = kind;
    let end = 0;
    for (const place of placesIn(text)) {
      const link = document.createElement("button");
      link.textContent = text.slice(place.start, place.start + place.size);
      link.addEventListener("click", () => chooseLine(place.file, place.line));
      pre.append(text.slice(end, place.start), link);
      end = place.start + place.size;
    }
    pre.append(text.slice(end));
    return pre;
  });
  byId("messages").replaceChildren(...shown);
}

function showFiles() {
  shownFile = Math.min(shownFile, Math.max(state.files.length - 1, 0));
  byId("files").hidden = state.files.length < 2;
  byId("files").replaceChildren(...state.files.map((file, index) => {
    const button = document.createElement("button");
    button.textContent = file.name.split("/").pop();
    button.setAttribute("aria-pressed", index === shownFile);
    button.addEventListener("click", () => {
      shownFile = index;
      showFiles();
    });
    return button;
  }));
  const lines = (state.files[shownFile]?.text ?? "").split("\n");
  if (lines.length > 1 && lines.at(-1) === "") lines.pop();
  byId("lines").replaceChildren(...lines.map((text, index) => {
    const item = document.createElement("li");
    item.textContent = text;
    item.role = "option";
    item.dataset.line = index + 1;
    return item;
  }));
  for (const {kind, text} of state.messages) {
    for (const place of placesIn(text)) {
      if (place.file !== shownFile) continue;
      const is_error = kind === "error" && !place.text.includes(" refused: ");
      byId("lines").children[place.line - 1]?.classList.add(is_error ? "error" : "warning");
    }
  }
  for (const call of state.calls) {
    if (call.file === shownFile) byId("lines").children[call.line - 1]?.classList.add("draws");
  }
  for (const place of placesIn(state.question?.place ?? "")) {
    if (place.file === shownFile) byId("lines").children[place.line - 1]?.classList.add("asks");
  }
  showLit();
}

// --- Entities and lines ------------------------------------------------------------------------

const passOf = (call) => call.loops.map(({round, line, file}) =>
  `time ${round} round the loop in line ${line}` +
  (file === call.file || file === null ? "" : ` of ${state.files[file].name}`)).join(", ");

const isWithin = (call, file, line) =>
  (call.file === file && call.line <= line && line <= call.end_line) ||
  [...call.loops, ...call.from].some((way) => way.file === file && way.line === line);

function chooseEntity(handle) {
  if (state.question?.call === "SSGET") {
    chosen = chosen.includes(handle) ? chosen.filter((each) => each !== handle) : [...chosen, handle];
    byId("answer").value = chosen.join(" ");
    light({handles: chosen, lines: []}, `${chosen.length} chosen`);
    return;
  }
  const calls = state.calls.filter((call) => call.entities.includes(handle));
  const call = calls.at(-1);
  const lines = calls.map((each) => ({file: each.file, line: each.line, end: each.end_line,
                                      note: passOf(each)}));
  const way = call ? `: line ${call.line}${passOf(call) ? `, ${passOf(call)}` : ""}` : "";
  if (call && call.file !== null && call.file !== shownFile) {
    shownFile = call.file;
    showFiles();
  }
  light({handles: [handle], lines}, (state.entities[handle] ?? handle) + way);
  byId("lines").querySelector("li.lit")?.scrollIntoView({block: "nearest"});
}

function chooseLine(file, line) {
  if (file !== shownFile) {
    shownFile = file;
    showFiles();
  }
  const calls = state.calls.filter((call) => isWithin(call, file, line));
  const handles = [...new Set(calls.flatMap((call) => call.entities))];
  light({handles, lines: [{file, line, end: line, note: ""}]},
        `line ${line}: ${handles.length} ${handles.length === 1 ? "entity" : "entities"}`);
  const item = byId("lines").children[line - 1];
  item?.scrollIntoView({block: "nearest"});
}

function light(what, text) {
  lit = what;
  byId("picked").textContent = text;
  showLit();
}

function showLit() {
  const handles = new Set(lit.handles);
  for (const element of svg.querySelectorAll("[data-handle]")) {
    element.classList.toggle("lit", handles.has(element.dataset.handle));
  }
  const items = byId("lines").children;
  for (const item of items) {
    item.classList.remove("lit");
    item.ariaSelected = "false";
    item.querySelector("small")?.remove();
  }
  for (const {file, line, end, note} of lit.lines) {
    if (file !== shownFile) continue;
    for (let n = line; n <= end; ++n) items[n - 1]?.classList.add("lit");
    const item = items[line - 1];
    if (!item) continue;
    item.ariaSelected = "true";
    item.querySelector("small")?.remove();
    if (note) {
      const pass = document.createElement("small");
      pass.textContent = note;
      item.append(pass);
    }
  }
}

// --- Mouse and keys ----------------------------------------------------------------------------

let drag = null;

// Thin lines are hard to hit: the nearest entity within a few pixels counts. A hatch counts where
// nothing else does, because it has an area, and often others inside of it.
function handleAt(event) {
  let hatch = null;
  for (const radius of [0, 3, 6]) {
    for (const [dx, dy] of [[0, 0], [radius, 0], [-radius, 0], [0, radius], [0, -radius],
                            [radius, radius], [-radius, radius], [radius, -radius],
                            [-radius, -radius]]) {
      for (const element of sheet.elementsFromPoint(event.clientX + dx, event.clientY + dy)) {
        const entity = element.closest?.("[data-handle]");
        if (!entity) continue;
        if (!entity.classList.contains("hatch")) return entity.dataset.handle;
        hatch ??= entity.dataset.handle;
      }
    }
  }
  return hatch;
}

svg.addEventListener("pointerdown", (event) => {
  drag = {x: event.clientX, y: event.clientY, moved: false};
  svg.setPointerCapture(event.pointerId);
});
svg.addEventListener("pointermove", (event) => {
  if (drag) {
    const dx = event.clientX - drag.x;
    const dy = event.clientY - drag.y;
    if (drag.moved || Math.hypot(dx, dy) > DRAG_PIXELS) {
      const {pixel} = placeOf(event) ?? {pixel: 0};
      pan(-dx * pixel, -dy * pixel);
      drag = {x: event.clientX, y: event.clientY, moved: true};
    }
  }
  pointer = placeOf(event);
  const digits = (value) => Number(value.toPrecision(7));
  byId("place").textContent =
    pointer ? `${digits(pointer.point.x)}, ${digits(pointer.point.y)}` : "";
  showOverlay();
});
svg.addEventListener("pointerup", (event) => {
  const was = drag;
  drag = null;
  if (!was || was.moved) return;
  const place = placeOf(event);
  if (state.question && state.question.call !== "SSGET") {
    if (place) pick(place);
    return;
  }
  const handle = handleAt(event);
  if (handle) {
    chooseEntity(handle);
  } else if (!state.question) {
    light({handles: [], lines: []}, "");
  }
});
svg.addEventListener("wheel", (event) => {
  event.preventDefault();
  zoom(Math.exp(event.deltaY / 400), placeOf(event)?.at);
}, {passive: false});

byId("lines").addEventListener("click", (event) => {
  const item = event.target.closest("li");
  if (item) chooseLine(shownFile, Number(item.dataset.line));
});
byId("lines").addEventListener("keydown", (event) => {
  const step = {ArrowDown: 1, ArrowUp: -1}[event.key];
  if (!step) return;
  event.preventDefault();
  const now = lit.lines[0]?.file === shownFile ? lit.lines[0].line : 0;
  const count = byId("lines").children.length;
  chooseLine(shownFile, Math.min(Math.max(now + step, 1), count));
});

function stepEntity(step) {
  const handles = [...new Set([...svg.querySelectorAll("[data-handle]")].map(
    (element) => element.dataset.handle))];
  if (!handles.length) return;
  const now = handles.indexOf(lit.handles[0]);
  chooseEntity(handles[(now + step + handles.length + (now < 0 && step < 0 ? 1 : 0)) % handles.length]);
}

byId("drawing").addEventListener("keydown", (event) => {
  const step = (view ?? panel()?.frame ?? {width: 0}).width / 10;
  const action = {
    ArrowLeft: () => pan(-step, 0), ArrowRight: () => pan(step, 0),
    ArrowUp: () => pan(0, -step), ArrowDown: () => pan(0, step),
    "+": () => zoom(0.8), "-": () => zoom(1.25), "0": fit, b: toggleSide,
    n: () => stepEntity(1), p: () => stepEntity(-1),
  }[event.key];
  if (!action || event.ctrlKey || event.altKey || event.metaKey) return;
  event.preventDefault();
  action();
});
byId("side").addEventListener("click", toggleSide);
byId("fit").addEventListener("click", fit);

// --- States ------------------------------------------------------------------------------------

const STATUS = {
  running: "running", asking: "waits for you", value: "done", failed: "failed",
  unreadable: "cannot be read", lost: "watch has ended", connecting: "connecting",
};

function showStatus(status) {
  byId("status").textContent = STATUS[status];
  byId("status").className = status;
}

function show(next, number) {
  state = next;
  const name = state.files[0]?.name.split("/").pop() ?? "watch";
  document.title = name;
  byId("name").textContent = name;
  showStatus(state.status);
  adoptPicture(state.svg);
  byId("side").disabled = !panels.before;
  if (!panels.before && showsBefore) toggleSide();
  lit = {handles: lit.handles.filter((handle) => handle in state.entities), lines: []};
  if (!lit.handles.length) byId("picked").textContent = "";
  showQuestion();
  showMessages();
  showFiles();
  showPanel();
  document.body.dataset.state = number;
}

const events = new EventSource("events");
events.addEventListener("message", (event) => show(JSON.parse(event.data), event.lastEventId));
events.addEventListener("error", () => showStatus("lost"));
events.addEventListener("open", () => showStatus(state.status));
