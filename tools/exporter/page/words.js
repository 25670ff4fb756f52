/* SPDX-License-Identifier: Apache-2.0 */
// Everything that the picture shows, and more, in words.
const rows = [
  ["remoteAlive", "Peer", flag(["good", "alive"], ["bad", "not alive"])],
  ["drbdConnected", "DRBD", flag(["good", "connected"], ["bad", "not connected"])],
  ["localMDResync", "Arrays of this node", flag(["busy", "resynchronising"], ["good", "no resync"])],
  ["remoteMDResync", "Arrays of the peer", flag(["busy", "resynchronising"], ["good", "no resync"])],
  ["localDiskErrHandling", "Disks of this node", flag(["bad", "error handling"], ["good", "no error handling"])],
  ["remoteDiskErrHandling", "Disks of the peer", flag(["bad", "error handling"], ["good", "no error handling"])],
  ["hbLatency", "Heartbeat", (ms) => ["good", ms.toFixed(3) + " ms"]],
  ["netNonOkRate", "Failed packets", (rate) => ["good", (rate * 100).toFixed(4) + " %"]],
];

function element(name, text) {
  const made = document.createElement(name);
  made.textContent = text;
  return made;
}

function tableRow(what, value, state, age, remark) {
  const row = document.createElement("tr");
  const head = element("th", what);
  head.scope = "row";
  const cell = element("td", marks[state] + " " + value);
  cell.dataset.state = state;
  row.append(head, cell, element("td", age), element("td", remark));
  return row;
}

function limitReached(pair, key, value) {
  return (key === "hbLatency" && value >= pair.thresholds.latency) ||
    (key === "netNonOkRate" && value >= pair.thresholds.rate);
}

function tellValues(pair) {
  const body = document.createDocumentFragment();
  for (const [key, what, words] of rows) {
    const reading = pair.readings[key];
    const found = judged(reading, words);
    const tooHigh = found.state === "good" && limitReached(pair, key, reading.value);
    body.append(tableRow(what, found.text, tooHigh ? "bad" : found.state,
      reading.age === null ? "never" : seconds(reading.age) + " ago",
      reading.reason || (reading.state === "stale" ? "stale" : tooHigh ? "has reached its threshold" : "")));
  }
  for (const [what, names] of [["Disks in error handling here", pair.disks.this],
    ["Disks in error handling, peer", pair.disks.peer]]) {
    if (names.length > 0) body.append(tableRow(what, names.join(", "), "bad", "", ""));
  }
  const arrays = pair.degradedArrays;
  const state = !arrays ? "unknown" : arrays.length > 0 ? "bad" : "good";
  body.append(tableRow("Degraded arrays", !arrays ? "unknown" : arrays.join(", ") || "none", state, "", ""));
  const restart = pair.lastRestart;
  if (restart) {
    body.append(tableRow("Last restart of the peer", restart.outcome, "busy",
      restart.ago === null ? "" : seconds(restart.ago) + " ago", restart.reason));
  }
  byId("values").replaceChildren(body);
}

function tellList(id, texts, otherwise) {
  byId(id).replaceChildren(...(texts.length > 0 ? texts : [otherwise]).map((text) => element("li", text)));
}

function setVerdict(state, text) {
  const verdict = byId("verdict");
  if (verdict.textContent !== text) verdict.textContent = text; // announced when it changes only
  verdict.dataset.state = state;
  document.title = marks[state] + " Koraha pair " + location.host;
}

function tellVerdict(pair) {
  if (!pair.up) {
    setVerdict("bad", "The daemon of this node does not answer: " + pair.problem);
    return;
  }
  const wrong = pair.concerns.filter((concern) => !concern.unknown).map((concern) => concern.text);
  const unknown = pair.concerns.filter((concern) => concern.unknown).map((concern) => concern.text);
  for (const [key, text] of [["hbLatency", "heartbeat too slow"], ["netNonOkRate", "too many failed packets"]]) {
    const reading = pair.readings[key];
    if (reading.state === "known" && limitReached(pair, key, reading.value)) wrong.push(text);
  }
  if (wrong.length > 0) setVerdict("bad", "Something is wrong: " + wrong.concat(unknown).join(", "));
  else if (unknown.length > 0) setVerdict("unknown", "Not everything is known: " + unknown.join(", "));
  else setVerdict("good", "All is well.");
}

function tellForbidding(pair) {
  if (pair.constraints === null) tellList("forbids", [], "unknown");
  else tellList("forbids", pair.constraints, "nothing");
}

function tellAbout(pair) {
  const daemon = pair.version === null ? "Daemon: unknown" : "Daemon " + pair.version;
  const up = pair.uptime === null ? "" : ", up " + seconds(pair.uptime);
  byId("about").textContent = daemon + up + ". Exporter " + pair.exporter + ".";
}
