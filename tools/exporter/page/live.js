/* SPDX-License-Identifier: Apache-2.0 */
// Keeps the page up to date, and says so when it cannot: old news look unknown.
const readingNames = rows.map(([key]) => key);
const nothing = { state: "unknown", value: null, age: null, reason: "" };
const silenceAllowed = 10000;
let lastNews = 0, source = null;

function nothingKnown(problem) {
  return {
    up: false, problem, exporter: "unknown", version: null, uptime: null, active: null,
    readings: Object.fromEntries(readingNames.map((name) => [name, nothing])),
    disks: { this: [], peer: [] }, degradedArrays: null, constraints: null, lastRestart: null,
    concerns: [], thresholds: { latency: Infinity, rate: Infinity },
  };
}

function show(pair) {
  drawNodes(pair);
  drawLink(pair);
  drawArrays(pair);
  drawDisks(pair);
  followHour(pair.up);
  tellValues(pair);
  tellForbidding(pair);
  tellAbout(pair);
  tellVerdict(pair);
}

function showSilence(text) {
  show(nothingKnown(text));
  setVerdict("unknown", text);
}

function connect() {
  source = new EventSource("events");
  source.addEventListener("pair", (event) => {
    lastNews = performance.now();
    show(JSON.parse(event.data));
  });
  source.addEventListener("hour", (event) => takeHour(JSON.parse(event.data)));
  source.addEventListener("error", () => {
    if (source.readyState === EventSource.CLOSED) { // refused: as many pages as may follow already do
      lastNews = -silenceAllowed;
      showSilence("The exporter refuses this page for now; it tries again.");
      setTimeout(connect, 5000);
    }
  });
}

setInterval(() => {
  if (lastNews > 0 && performance.now() - lastNews > silenceAllowed) {
    showSilence("No news from the exporter for " + seconds((performance.now() - lastNews) / 1000) + ".");
  }
}, 1000);

byId("host").textContent = location.host;
show(nothingKnown(""));
setVerdict("unknown", "Nothing is known yet.");
connect();
