// The recordings: the list of films, and the one that is watched.

import { $, call, element } from "/page/gateway.js";
import { requireSession } from "/page/session.js";

const perPage = 100;
const player = $("player");
const shownIn = options => new Intl.DateTimeFormat("en-GB", options);
const dayText = shownIn({ weekday: "long", day: "numeric", month: "long", year: "numeric" });
const timeText = shownIn({ hour: "2-digit", minute: "2-digit" });
const dateText = shownIn({ day: "numeric", month: "long", year: "numeric" });

let films = [];
let connections = new Map();           // What is known of the connections that films are of, by id.
let pages = 1;                         // As many as the person has asked for.
let more = false;
let watched = null;                    // The film in the player.
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

async function loadFilms() {
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
  films = found;
  more = Boolean(before);
}

function entry(film) {
  const from = origin(film.target);
  const waits = film.status !== "ready";
  const made = new Date(film.createdAt);
  const button = element("button", { type: "button", className: "film", disabled: waits },
    element("time", { dateTime: film.createdAt, textContent: timeText.format(made) }),
    element("strong", { textContent: from.name }),
    element("span", { className: "length", textContent: lengthText(film.durationSEC) }),
    element("small", { textContent: waits ? "on its way" : (from.ended ? "revoked · " : "") + from.who }));
  button.dataset.film = film.id;
  button.setAttribute("aria-current", String(film.id === chosen));
  button.addEventListener("click", () => choose(film.id));
  return button;
}

let drawn = "";
function draw() {
  const key = JSON.stringify([films.map(film => [film.id, film.status]), [...connections], chosen, more]);
  if (key === drawn) return;
  drawn = key;
  const focused = document.activeElement?.dataset?.film;
  const rows = [];
  let day = "";
  for (const film of films) {
    const its = dayText.format(new Date(film.createdAt));
    if (its !== day) rows.push(element("h2", { className: "day", textContent: its }));
    day = its;
    rows.push(entry(film));
  }
  $("list").replaceChildren(...rows);
  if (focused) $("list").querySelector(`[data-film="${CSS.escape(focused)}"]`)?.focus();
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
  const film = watched;
  for (const id of ["bar", "frame", "kept"]) $(id).hidden = !film;
  $("empty").hidden = Boolean(film);
  const none = films.length === 0;
  $("emptyTitle").textContent = none ? "No recordings yet" : "Choose a recording";
  $("emptyText").textContent = none
    ? "A film appears here when an agent has worked on a machine whose person shares its recordings." : "It plays here.";
  if (!film) return;
  const from = origin(film.target);
  const made = new Date(film.createdAt);
  $("name").textContent = `${from.name}, ${timeText.format(made)}`;
  $("facts").textContent = [dayText.format(made), lengthText(film.durationSEC), from.who].join(" · ");
  $("kept").textContent = `Kept until ${dateText.format(new Date(film.deletesAt))}, then deleted by itself.`;
}

/// The film's address, on this very site whatever name the gateway gave itself.
function sourceOf(film) {
  const url = new URL(film.url);
  return url.pathname + url.search;
}

async function choose(id) {
  chosen = id;
  history.replaceState(null, "", `#${id}`);
  ask(false);
  $("error").hidden = true;
  await show(id, 0);
}

/// Puts a film into the player, at a place in it.
async function show(id, place) {
  let film;
  try {
    film = await call(`/v1/recordings/${encodeURIComponent(id)}`);
  } catch (error) {
    if (id === chosen) leave(error.status === 404 ? "This recording is gone." : error.message);
    return;
  }
  if (id !== chosen) return;
  if (film.status !== "ready") {
    leave(film.status === "deleted" ? "This recording was deleted." : "This recording is still on its way.");
    return;
  }
  watched = film;
  player.src = sourceOf(film);
  $("save").href = sourceOf(film);
  $("save").download = `Zelvo ${film.createdAt.slice(0, 19).replace("T", " ").replaceAll(":", "-")}.mp4`;
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

// An address is good for a while only; when the film stops coming, a new one is asked for and it goes on where it stood.
let lastTry = -Infinity;
player.addEventListener("error", () => {
  if (!watched || !player.hasAttribute("src")) return;
  const now = performance.now();
  if (now - lastTry < 10000) {
    say("The film can't be played.");
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
  films = films.filter(film => film.id !== id);
  if (id === chosen) leave("");
  else draw(); // Another film was chosen meanwhile.
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
    await loadFilms();
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
