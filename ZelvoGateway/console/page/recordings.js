// The page of recordings: the list, and the one in the player.

import { $, call, element } from "/page/gateway.js";
import { requireSession } from "/page/session.js";

const perPage = 100;
const player = $("player");
const shownIn = options => new Intl.DateTimeFormat("en-GB", options);
const dayText = shownIn({ weekday: "long", day: "numeric", month: "long", year: "numeric" });
const timeText = shownIn({ hour: "2-digit", minute: "2-digit" });
const dateText = shownIn({ day: "numeric", month: "long", year: "numeric" });

let recordings = [];
let connections = new Map();           // What is known of the connections that recordings are of, by id.
let pages = 1;                         // As many as the person has asked for.
let more = false;
let watched = null;                    // The recording in the player.
let chosen = location.hash.slice(1);

function lengthText(seconds) {
  const whole = Math.max(Math.round(seconds), 1);
  const two = number => String(number).padStart(2, "0");
  const hours = Math.floor(whole / 3600);
  const minutes = Math.floor(whole / 60) % 60;
  return hours ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

/// Machine and end user of a connection, as far as they are known.
function origin(connection) {
  const known = connections.get(connection);
  return { name: known?.name || "A machine that is gone", who: known?.who || connection, ended: !known || known.ended };
}

async function loadNames() {
  const [all, machines] = await Promise.all([call("/v1/connections"), call("/console/machines")]);
  const names = new Map(machines.machines.map(machine => [machine.id, machine.name]));
  connections = new Map(all.data.map(one => [one.id,
    { name: names.get(one.machineId), who: one.endUserId, ended: one.status !== "active" }]));
}

async function loadRecordings() {
  const wanted = $("filter").value;
  let found = [];
  let before = "";
  for (let page = 0; page < pages; ++page) {
    const query = new URLSearchParams({ limit: perPage });
    if (wanted) query.set("connectionId", wanted);
    if (before) query.set("before", before);
    const answer = await call(`/v1/recordings?${query}`);
    found = found.concat(answer.data);
    before = answer.nextBefore || "";
    if (!before) break;
  }
  if (wanted !== $("filter").value) return; // Another choice was made meanwhile.
  recordings = found;
  more = Boolean(before);
}

function entry(recording) {
  const from = origin(recording.target);
  const waits = recording.status !== "ready";
  const made = new Date(recording.createdAt);
  const button = element("button", { type: "button", className: "recording", disabled: waits },
    element("time", { dateTime: recording.createdAt, textContent: timeText.format(made) }),
    element("strong", { textContent: from.name }),
    element("span", { className: "length", textContent: lengthText(recording.durationSEC) }),
    element("small", { textContent: waits ? "on its way" : (from.ended ? "revoked · " : "") + from.who }));
  button.dataset.recording = recording.id;
  button.setAttribute("aria-current", String(recording.id === chosen));
  button.addEventListener("click", () => choose(recording.id));
  return button;
}

let drawn = "";
function draw() {
  const states = recordings.map(recording => [recording.id, recording.status]);
  const key = JSON.stringify([states, [...connections], chosen, more]);
  if (key === drawn) return;
  drawn = key;
  const focused = document.activeElement?.dataset?.recording;
  const rows = [];
  let day = "";
  for (const recording of recordings) {
    const its = dayText.format(new Date(recording.createdAt));
    if (its !== day) rows.push(element("h2", { className: "day", textContent: its }));
    day = its;
    rows.push(entry(recording));
  }
  $("list").replaceChildren(...rows);
  if (focused) $("list").querySelector(`[data-recording="${CSS.escape(focused)}"]`)?.focus();
  $("older").hidden = !more;
  drawFilter();
  drawStage();
}

function drawFilter() {
  const now = $("filter").value;
  const choices = [...connections].map(([id, known]) => new Option(`${known.name || "A machine"} · ${known.who}`, id));
  $("filter").replaceChildren(new Option("all connections", ""), ...choices);
  $("filter").value = connections.has(now) ? now : "";
  $("choice").hidden = connections.size < 2;
}

function drawStage() {
  const recording = watched;
  for (const id of ["bar", "frame", "kept"]) $(id).hidden = !recording;
  $("empty").hidden = Boolean(recording);
  const none = recordings.length === 0;
  $("emptyTitle").textContent = none ? "No recordings yet" : "Choose a recording";
  $("emptyText").textContent = none
    ? "A recording appears here when an agent has worked on a machine whose person shares its recordings." : "It plays here.";
  if (!recording) return;
  const from = origin(recording.target);
  const made = new Date(recording.createdAt);
  $("name").textContent = `${from.name}, ${timeText.format(made)}`;
  $("facts").textContent = [dayText.format(made), lengthText(recording.durationSEC), from.who].join(" · ");
  $("kept").textContent = `Kept until ${dateText.format(new Date(recording.deletesAt))}, then deleted by itself.`;
}

/// The recording's address, on this very site whatever name the gateway gave itself.
function sourceOf(recording) {
  const url = new URL(recording.url);
  return url.pathname + url.search;
}

async function choose(id) {
  chosen = id;
  history.replaceState(null, "", `#${id}`);
  ask(false);
  $("error").hidden = true;
  await show(id, 0);
}

/// Puts a recording into the player, at a place in it.
async function show(id, place) {
  let recording;
  try {
    recording = await call(`/v1/recordings/${encodeURIComponent(id)}`);
  } catch (error) {
    if (id === chosen) leave(error.status === 404 ? "This recording is gone." : error.message);
    return;
  }
  if (id !== chosen) return;
  if (recording.status !== "ready") {
    leave(recording.status === "deleted" ? "This recording was deleted." : "This recording is still on its way.");
    return;
  }
  watched = recording;
  player.src = sourceOf(recording);
  $("save").href = sourceOf(recording);
  $("save").download = `Zelvo ${recording.createdAt.slice(0, 19).replace("T", " ").replaceAll(":", "-")}.mp4`;
  if (place > 0) player.currentTime = place;
  draw();
  drawStage();
}

function leave(text) {
  watched = null;
  chosen = "";
  history.replaceState(null, "", location.pathname);
  player.removeAttribute("src");
  player.load();
  draw();
  drawStage();
  if (text) say(text);
}

function say(text) {
  $("error").textContent = text;
  $("error").hidden = false;
}

// An address expires. When the player can no longer load the recording, it asks for a new address and continues there.
let lastTry = -Infinity;
player.addEventListener("error", () => {
  if (!watched || !player.hasAttribute("src")) return;
  const now = performance.now();
  if (now - lastTry < 10000) {
    say("The recording can't be played.");
    return;
  }
  lastTry = now;
  const playing = !player.paused;
  show(watched.id, player.currentTime).then(() => { if (playing) player.play().catch(() => {}); });
});

function ask(open) {
  $("sure").hidden = !open;
  for (const id of ["delete", "save"]) $(id).hidden = open;
}

$("delete").addEventListener("click", () => {
  ask(true);
  $("keep").focus();
});
$("keep").addEventListener("click", () => {
  ask(false);
  $("delete").focus();
});
$("really").addEventListener("click", async () => {
  const { id } = watched;
  ask(false);
  try {
    await call(`/v1/recordings/${encodeURIComponent(id)}`, null, "DELETE");
  } catch (error) {
    say(error.message);
    return;
  }
  recordings = recordings.filter(recording => recording.id !== id);
  if (id === chosen) leave("");
  else draw(); // Another recording was chosen meanwhile.
});
$("older").addEventListener("click", () => {
  pages += 1;
  load();
});
$("filter").addEventListener("change", () => {
  pages = 1;
  load();
});

async function load() {
  try {
    await loadNames();
    await loadRecordings();
    $("notice").textContent = "";
  } catch (error) {
    $("notice").textContent = error.message;
  }
  draw();
}

async function refresh() {
  await load();
  setTimeout(refresh, document.hidden ? 30000 : 5000);
}

await requireSession($("logout"));
$("empty").hidden = true;
refresh().then(() => { if (chosen) show(chosen, 0); });
