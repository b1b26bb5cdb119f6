"use strict";
// All text comes from devices and files of a host: it is only ever put in as text.
const data = JSON.parse(document.getElementById("data").textContent);
const PAGE = 100;
const byId = (id) => document.getElementById(id);

function element(name, options = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(options)) {
    if (key === "text") made.textContent = value;
    else if (key.startsWith("on")) made.addEventListener(key.slice(2), value);
    else if (value !== null && value !== false) made.setAttribute(key, value === true ? "" : value);
  }
  made.append(...children);
  return made;
}

function sizeText(kib) {
  if (kib === null || kib === undefined) return "-";
  const units = ["KiB", "MiB", "GiB", "TiB", "PiB"];
  let unit = 0;
  while (kib >= 1024 && unit < units.length - 1) { kib /= 1024; ++unit; }
  return `${unit === 0 ? kib : kib.toFixed(1)} ${units[unit]}`;
}

const orDash = (value) => (value === null || value === undefined || value === "" ? "-" : String(value));
const isPath = (device) => device.claim_level === 0;
const usersOf = (volume) => volume.used_by === null || volume.used_by === undefined ? null : volume.used_by;

function usersText(users) {
  if (users === null) return "-";
  return users.length === 0 ? "unused" : users.map((user) => user.name || user.text || String(user)).join(", ");
}

function stateOf(volume) {
  const states = [...new Set(volume.devices.filter((one) => one.state !== "ok").map((one) => one.state))];
  return [...states, ...(volume.marks || [])].join("; ") || "ok";
}

function isDoubtful(volume) {
  return volume.state !== "ok" || volume.living_paths < volume.paths || volume.identity !== "unit";
}

const volumes = data.volumes.map((one) => ({
  ...one, state: one.state || stateOf(one), users: usersText(usersOf(one)),
  shownUdid: one.udid || (one.last_known_udid ? `${one.last_known_udid} (last known)` : "-"),
}));
for (const volume of volumes) {
  volume.text = [volume.name, volume.vendor, volume.product, volume.array_serial, volume.volume_id, volume.serial,
    volume.logical_unit_name, volume.users, volume.shownUdid, volume.state,
    ...volume.devices.flatMap((one) => [one.name, one.hctl, one.target_port, one.initiator_port])]
    .filter(Boolean).join("\n").toLowerCase();
}

const COLUMNS = [
  { title: "Volume", value: (one) => orDash(one.name) },
  { title: "Size", value: (one) => sizeText(one.size_kb), key: (one) => one.size_kb ?? -1, number: true },
  { title: "Paths", value: (one) => `${one.living_paths ?? "?"}/${one.paths}`,
    key: (one) => (one.living_paths ?? 0) / (one.paths || 1), number: true,
    mark: (one) => (one.living_paths < one.paths ? "bad" : "") },
  { title: "Vendor", value: (one) => orDash(one.vendor) },
  { title: "Product", value: (one) => orDash(one.product) },
  { title: "Array", value: (one) => orDash(one.array_serial) },
  { title: "LUN", value: (one) => orDash((one.luns || []).join(", ")), key: (one) => (one.luns || [])[0] ?? -1,
    number: true },
  { title: "Used by", value: (one) => one.users },
  { title: "State", value: (one) => one.state, mark: (one) => (one.state === "ok" ? "good" : "bad") },
  { title: "UDID", value: (one) => one.shownUdid, udid: true,
    mark: (one) => (one.identity === "unit" ? "" : "doubt") },
];

let sorted = { column: 0, descending: false };
let shown = PAGE;
let filtered = [];
const natural = new Intl.Collator("en", { numeric: true, sensitivity: "base" });
// sda ... sdz, then sdaa: a shorter name of disks comes first.
function compareNames(left, right) {
  const disk = /^(.*\/sd)([a-z]+)(\d*)$/;
  const one = disk.exec(left), other = disk.exec(right);
  if (one && other && one[1] === other[1] && one[2].length !== other[2].length) return one[2].length - other[2].length;
  return natural.compare(left, right);
}

function sortVolumes() {
  const column = COLUMNS[sorted.column];
  const sign = sorted.descending ? -1 : 1;
  const key = column.key || column.value;
  volumes.sort((left, right) => {
    const a = key(left), b = key(right);
    const order = typeof a === "number" ? a - b : compareNames(a, b);
    return sign * (order || compareNames(orDash(left.name), orDash(right.name)));
  });
}

function headings() {
  return element("tr", {}, ...COLUMNS.map((column, place) => element("th", {
    scope: "col", class: column.number ? "number" : null,
    "aria-sort": place === sorted.column ? (sorted.descending ? "descending" : "ascending") : null,
  }, element("button", { type: "button", text: column.title, onclick: () => {
    sorted = { column: place, descending: place === sorted.column && !sorted.descending };
    sortVolumes();
    show();
    byId("volumes").tHead.rows[0].cells[place].querySelector("button").focus();
  } }))));
}

function pathsTable(volume) {
  const titles = ["Address", "Device", "State", "Initiator port", "Target port", "Group", "Driver"];
  const rows = volume.devices.filter(isPath).map((one) => element("tr", {},
    ...[one.hctl, one.name, one.state, one.initiator_port, one.target_port, one.port_group, one.driver]
      .map((value, place) => element("td", {
        text: orDash(value), class: place === 2 ? (one.lives === false || one.state !== "ok" ? "bad" : "good") : null,
      }))));
  return element("table", {}, element("thead", {}, element("tr", {},
    ...titles.map((title) => element("th", { scope: "col", text: title })))), element("tbody", {}, ...rows));
}

function details(volume) {
  const cell = element("td", { colspan: COLUMNS.length }, pathsTable(volume));
  const explanation = (data.explanations || {})[volume.name];
  if (explanation) cell.append(element("pre", { text: explanation }));
  return element("tr", { class: "more" }, cell);
}

function toggle(row, volume) {
  const next = row.nextElementSibling;
  const isOpen = next !== null && next.classList.contains("more");
  if (isOpen) next.remove();
  else row.after(details(volume));
  row.setAttribute("aria-expanded", String(!isOpen));
}

function rowOf(volume) {
  const row = element("tr", { class: "volume", tabindex: "0", "aria-expanded": "false" },
    ...COLUMNS.map((column) => element("td", {
      text: column.value(volume),
      class: [column.number ? "number" : "", column.udid ? "udid" : "", column.mark ? column.mark(volume) : ""]
        .join(" ").trim() || null,
    })));
  row.addEventListener("click", () => { if (!String(getSelection())) toggle(row, volume); });
  row.addEventListener("keydown", (event) => keyOnRow(event, row, volume));
  return row;
}

function neighbour(row, step) {
  let next = row;
  do next = step > 0 ? next.nextElementSibling : next.previousElementSibling;
  while (next && !next.classList.contains("volume"));
  return next;
}

function keyOnRow(event, row, volume) {
  const isOpen = row.getAttribute("aria-expanded") === "true";
  if (event.key === "Enter" || event.key === " ") toggle(row, volume);
  else if (event.key === "Escape" && isOpen) toggle(row, volume);
  else if (event.key === "ArrowDown") neighbour(row, 1)?.focus();
  else if (event.key === "ArrowUp") neighbour(row, -1)?.focus();
  else return;
  event.preventDefault();
}

function show() {
  const words = byId("search").value.toLowerCase().split(/\s+/).filter(Boolean);
  const doubtful = byId("doubtful").checked;
  filtered = volumes.filter((one) => (!doubtful || isDoubtful(one)) && words.every((word) => one.text.includes(word)));
  const table = byId("volumes");
  table.tHead.replaceChildren(headings());
  table.tBodies[0].replaceChildren(...filtered.slice(0, shown).map(rowOf));
  byId("more").hidden = filtered.length <= shown;
  byId("count").textContent = `${filtered.length} of ${volumes.length} volumes`;
  drawSoon();
}

// The drawing may come a moment later than the letters that are typed.
let drawing = 0;
function drawSoon() {
  clearTimeout(drawing);
  drawing = setTimeout(() => drawTopology(filtered.slice(0, shown)), 150);
}

// Columns of the drawing: initiator ports, target ports, paths, volumes, users.
const SVG = "http://www.w3.org/2000/svg";
const WIDTHS = [190, 230, 190, 230, 200];
const GAP = 70;
const ROW = 22;

function shape(name, attributes, text) {
  const made = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  if (text !== undefined) made.textContent = text;
  return made;
}

const leftOf = (column) => WIDTHS.slice(0, column).reduce((sum, width) => sum + width + GAP, 0) + 1;

function shortened(text, column) {
  const most = Math.floor(WIDTHS[column] / 7);
  return text.length <= most ? text : `${text.slice(0, most - 1)}…`;
}

function box(drawing, column, middle, text, state) {
  const group = shape("g", {});
  group.append(shape("title", {}, text),
    shape("rect", { x: leftOf(column), y: middle - 9, width: WIDTHS[column], height: 18, rx: 3, class: state || "" }),
    shape("text", { x: leftOf(column) + 6, y: middle + 4 }, shortened(text, column)));
  drawing.append(group);
}

function line(drawing, column, from, to, state) {
  const x = leftOf(column) + WIDTHS[column], end = leftOf(column + 1), half = (x + end) / 2;
  drawing.prepend(shape("path", { d: `M${x},${from} C${half},${from} ${half},${to} ${end},${to}`, class: state }));
}

// Ports stand where the middle of their paths is, as far as there is room.
function placePorts(paths, nameOf) {
  const ports = new Map();
  for (const path of paths) {
    const name = nameOf(path);
    if (!ports.has(name)) ports.set(name, []);
    ports.get(name).push(path.middle);
  }
  const placed = [...ports].map(([name, middles]) => [name, middles.reduce((sum, one) => sum + one, 0) / middles.length]);
  placed.sort((left, right) => left[1] - right[1]);
  let free = ROW / 2 + ROW;
  return new Map(placed.map(([name, middle]) => {
    const at = Math.max(middle, free);
    free = at + ROW;
    return [name, at];
  }));
}

function drawTopology(list) {
  const drawing = shape("svg", { role: "img", "aria-label": "Initiator ports, target ports, paths, volumes and users" });
  const lines = shape("g", {});
  const paths = [];
  let at = ROW * 1.5;
  for (const volume of list) {
    const own = volume.devices.filter(isPath);
    const begin = at;
    for (const device of own) {
      paths.push({ device, middle: at, good: device.lives !== false && device.state === "ok" });
      at += ROW;
    }
    const middle = own.length === 0 ? at : (begin + at - ROW) / 2;
    at = own.length === 0 ? at + ROW : at;
    box(drawing, 3, middle, `${orDash(volume.name)}  ${sizeText(volume.size_kb)}`, isDoubtful(volume) ? "bad" : "good");
    for (const path of paths.slice(paths.length - own.length)) {
      line(lines, 2, path.middle, middle, path.good ? "good" : "bad");
    }
    if (volume.users !== "-" && volume.users !== "unused") {
      box(drawing, 4, middle, volume.users);
      line(lines, 3, middle, middle, "good");
    }
    at += ROW / 3;
  }
  const targets = placePorts(paths, (path) => orDash(path.device.target_port));
  const initiators = placePorts(paths, (path) => orDash(path.device.initiator_port));
  for (const path of paths) {
    box(drawing, 2, path.middle, `${orDash(path.device.hctl)}  ${path.device.name}`, path.good ? "good" : "bad");
    line(lines, 1, targets.get(orDash(path.device.target_port)), path.middle, path.good ? "good" : "bad");
  }
  // Two ports see each other when one path between them lives.
  const links = new Map();
  for (const path of paths) {
    const ports = `${path.device.initiator_port}\n${path.device.target_port}`;
    links.set(ports, { device: path.device, good: path.good || (links.get(ports)?.good ?? false) });
  }
  for (const { device, good } of links.values()) {
    line(lines, 0, initiators.get(orDash(device.initiator_port)), targets.get(orDash(device.target_port)),
      good ? "good" : "bad");
  }
  for (const [name, middle] of initiators) box(drawing, 0, middle, name === "-" ? "initiator port not known" : name);
  for (const [name, middle] of targets) box(drawing, 1, middle, name === "-" ? "target port not known" : name);
  ["Initiator port", "Target port", "Path", "Volume", "Used by"].forEach((title, column) => drawing.append(
    shape("text", { x: leftOf(column), y: 12, class: "soft" }, title)));
  drawing.prepend(lines);
  const width = leftOf(4) + WIDTHS[4] + 1;
  const height = Math.max(at, ...initiators.values(), ...targets.values()) + ROW;
  drawing.setAttribute("viewBox", `0 0 ${width} ${height}`);
  drawing.setAttribute("width", width);
  drawing.setAttribute("height", height);
  byId("topology").replaceChildren(drawing);
  byId("topology-note").textContent = list.length === volumes.length ? "" :
    `The ${list.length} volumes that the table above shows.`;
}

function showFindings() {
  const findings = data.findings || [];
  byId("findings").replaceChildren(...findings.map((one) => element("article", { class: one.severity },
    element("p", {}, element("strong", { text: `${one.code} ${one.title}` })),
    element("p", { text: `${one.devices.join(", ")}: ${one.seen}` }),
    element("p", { class: "note", text: `${one.why} ${one.remedy}` }))));
  if (findings.length === 0) byId("findings").append(element("p", { class: "good", text: "Nothing was found wrong." }));
}

function begin() {
  document.title = `SCSI disks of ${data.host}`;
  byId("title").textContent = document.title;
  const paths = volumes.reduce((sum, one) => sum + one.paths, 0);
  const living = volumes.reduce((sum, one) => sum + (one.living_paths || 0), 0);
  byId("summary").textContent = [`${volumes.length} volumes`, `${living} of ${paths} paths live`,
    `${(data.findings || []).length} findings`, `${data.time}`, `scsitool ${data.version}`].join(" · ");
  byId("search").addEventListener("input", () => { shown = PAGE; show(); });
  byId("doubtful").addEventListener("change", () => { shown = PAGE; show(); });
  byId("more").addEventListener("click", () => { shown += PAGE; show(); });
  addEventListener("beforeprint", () => { shown = volumes.length; show(); drawTopology(filtered); });
  addEventListener("keydown", (event) => {
    if (event.key === "/" && event.target.tagName !== "INPUT") { byId("search").focus(); event.preventDefault(); }
    if (event.key === "Escape" && event.target === byId("search")) { byId("search").value = ""; show(); }
    if (event.key === "ArrowDown" && event.target === byId("search")) {
      byId("volumes").tBodies[0].rows[0]?.focus();
      event.preventDefault();
    }
  });
  sortVolumes();
  showFindings();
  show();
  drawTopology(filtered.slice(0, shown));
}

begin();
