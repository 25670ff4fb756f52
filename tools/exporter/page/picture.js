/* SPDX-License-Identifier: Apache-2.0 */
"use strict";
// The picture of the pair. Text from elsewhere is only ever set as text.
const byId = (id) => document.getElementById(id);
const marks = { good: "\u2713", bad: "\u2717", busy: "\u21bb", unknown: "?" };
const shortened = (text, most) => (text.length > most ? text.slice(0, most - 1) + "\u2026" : text);
const seconds = (age) =>
  age >= 5400 ? Math.round(age / 3600) + " h" : age >= 120 ? Math.round(age / 60) + " min" : Math.round(age) + " s";

// What a reading comes to: {state, text}. What is unknown or stale is never good.
function judged(reading, words) {
  if (!reading || reading.state === "unknown") return { state: "unknown", text: "unknown" };
  const [state, text] = words(reading.value);
  return reading.state === "known" ? { state, text } : { state: "unknown", text: text + " (stale)" };
}
const flag = (whenTrue, whenFalse) => (value) => (value ? whenTrue : whenFalse);

function setPart(id, state, what, more) {
  const part = byId(id);
  part.dataset.state = state;
  part.querySelector(".what").textContent = marks[state] + " " + shortened(what, 24);
  const line = part.querySelector(".more");
  if (line) line.textContent = shortened(more || "", 28);
  const name = part.querySelector(".name").textContent;
  const owner = id.includes("-") ? (id.startsWith("peer") ? "Peer: " : "This node: ") : "";
  part.setAttribute("aria-label", owner + name + ": " + what + (more ? ", " + more : ""));
}

function setWire(id, state) {
  byId(id).dataset.state = state;
}

function drawNodes(pair) {
  if (!pair.up) {
    setPart("this", "unknown", "daemon does not answer");
  } else {
    const role = pair.active === null ? "role unknown" : pair.active ? "active" : "passive";
    setPart("this", pair.active === null ? "unknown" : "good", role);
  }
  const alive = judged(pair.readings.remoteAlive, flag(["good", "alive"], ["bad", "not alive"]));
  setPart("peer", alive.state, alive.text);
}

function drawLink(pair) {
  const alive = judged(pair.readings.remoteAlive, flag(["good", ""], ["bad", "no answer"]));
  const limits = pair.thresholds;
  const latency = judged(pair.readings.hbLatency, (ms) => [
    ms >= limits.latency ? "bad" : "good",
    ms.toFixed(ms < 10 ? 2 : 0) + " ms" + (ms >= limits.latency ? ", too slow" : ""),
  ]);
  const loss = judged(pair.readings.netNonOkRate, (rate) => [
    rate >= limits.rate ? "bad" : "good",
    (rate * 100).toFixed(rate < 0.01 && rate > 0 ? 2 : 0) + " % packets fail",
  ]);
  let state = alive.state === "good" ? latency.state : alive.state;
  if (state === "good" && loss.state === "bad") state = "bad";
  setPart("link", state, alive.state === "bad" ? alive.text : latency.text, loss.text);
  setWire("link-wire", state);
  const drbd = judged(pair.readings.drbdConnected, flag(["good", "connected"], ["bad", "not connected"]));
  setPart("drbd", drbd.state, drbd.text, pair.readings.drbdConnected.reason);
  setWire("drbd-wire", drbd.state);
}

function drawArrays(pair) {
  const resync = flag(["busy", "resynchronising"], ["good", "no resync"]);
  const here = judged(pair.readings.localMDResync, resync);
  const degraded = pair.degradedArrays;
  if (degraded && degraded.length > 0) {
    setPart("this-arrays", "bad", "degraded: " + degraded.join(", "), here.text);
  } else {
    setPart("this-arrays", degraded ? here.state : "unknown", here.text, degraded ? "" : "degraded: unknown");
  }
  const there = judged(pair.readings.remoteMDResync, resync);
  setPart("peer-arrays", there.state, there.text, pair.readings.remoteMDResync.reason);
}

function drawDisks(pair) {
  const handling = flag(["bad", "error handling"], ["good", "no error handling"]);
  const here = judged(pair.readings.localDiskErrHandling, handling);
  setPart("this-disks", here.state, here.text, pair.disks.this.join(", "));
  const there = judged(pair.readings.remoteDiskErrHandling, handling);
  setPart("peer-disks", there.state, there.text, pair.disks.peer.join(", ") || pair.readings.remoteDiskErrHandling.reason);
}

// On a narrow screen the nodes stand one below the other; the style moves them.
const narrow = matchMedia("(max-width: 40rem)");
function fitPicture() {
  byId("picture").setAttribute("viewBox", narrow.matches ? "0 0 360 720" : "0 0 820 300");
}
narrow.addEventListener("change", fitPicture);
fitPicture();
