/* SPDX-License-Identifier: Apache-2.0 */
// The last hour of the heartbeat, and the events.
const left = 84, right = 790, top_ = 12, bottom = 140;

function curve(buckets, x, y, value) {
  let d = "", last = null;
  for (const bucket of buckets) {
    const joined = last !== null && bucket.at - last <= 3 * hourWidth;
    d += (joined ? "L" : "M") + x(bucket.at).toFixed(1) + " " + y(value(bucket)).toFixed(1);
    if (!joined) d += "h0.5"; // a point of its own is seen, too
    last = bucket.at;
  }
  return d;
}
let hourWidth = 30;
let lastHour = null; // nothing while the daemon tells none
let drawnUntil = null;

function takeHour(hour) {
  lastHour = hour;
  if (hour === null) tellOldHour();
  else drawHour(hour);
}

// What was drawn counts for no longer than somebody answers.
function followHour(up) {
  if (!up || lastHour === null) tellOldHour();
  else if (byId("hour").dataset.state === "unknown") drawHour(lastHour);
}

function setHour(state, end) {
  for (const id of ["hour", "hour-words", "events"]) byId(id).dataset.state = state;
  byId("hour-end").textContent = end;
}

function tellOldHour() {
  const until = drawnUntil === null ? null : new Date(drawnUntil * 1000).toLocaleTimeString();
  setHour("unknown", until === null ? "?" : until);
  byId("hour-words").textContent = marks.unknown + " Unknown now." +
    (until === null ? "" : " Below is what was known at " + until + ".");
  byId("events-words").textContent = until === null ? "" :
    marks.unknown + " These are old: what has come after " + until + " is unknown.";
}

function drawHour(hour) {
  setHour("good", "now");
  drawnUntil = hour.now;
  byId("events-words").textContent = "";
  hourWidth = hour.width;
  const buckets = hour.buckets;
  const highest = Math.max(0.1, ...buckets.map((bucket) => bucket.greatest)) * 1.1;
  const x = (at) => right - Math.min(1, Math.max(0, (hour.now - at) / 3600)) * (right - left);
  const y = (ms) => bottom - (ms / highest) * (bottom - top_);
  byId("hour-median").setAttribute("d", curve(buckets, x, y, (bucket) => bucket.median));
  byId("hour-greatest").setAttribute("d", curve(buckets, x, y, (bucket) => bucket.greatest));
  byId("hour-lost").setAttribute("d",
    buckets.filter((bucket) => bucket.answered < bucket.sent)
      .map((bucket) => "M" + x(bucket.at).toFixed(1) + " " + bottom + "v-" +
        (8 + 24 * (1 - bucket.answered / bucket.sent)).toFixed(1)).join(""));
  byId("hour-top").textContent = buckets.length > 0 ? highest.toFixed(highest < 10 ? 1 : 0) + " ms" : "";
  tellHour(hour);
  byId("events").replaceChildren(...eventItems(hour.events));
}

function tellHour(hour) {
  if (hour.buckets.length === 0) {
    byId("hour-words").textContent = "No measurements.";
    return;
  }
  const sent = hour.buckets.reduce((sum, bucket) => sum + bucket.sent, 0);
  const answered = hour.buckets.reduce((sum, bucket) => sum + bucket.answered, 0);
  byId("hour-words").textContent = "Median " + hour.median.toFixed(2) + " ms, greatest " +
    Math.max(...hour.buckets.map((bucket) => bucket.greatest)).toFixed(2) + " ms; " +
    (sent - answered) + " of " + sent + " echoes lost.";
}

function eventItems(events) {
  if (events.length === 0) return [element("li", "none")];
  return events.slice().reverse().map((event) => {
    const item = document.createElement("li");
    const at = new Date(event.at * 1000);
    const stamp = element("time", Number.isNaN(at.getTime()) ? "?" : at.toLocaleString());
    if (!Number.isNaN(at.getTime())) stamp.dateTime = at.toISOString();
    item.append(stamp, document.createTextNode(event.text));
    return item;
  });
}
