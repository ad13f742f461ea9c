// The console: the list of machines, and the one that is looked at.

import { $, call, element } from "/page/gateway.js";
import { Input } from "/page/input.js";
import { offerMcp } from "/page/mcp.js";
import { Screen } from "/page/screen.js";
import { requireSession } from "/page/session.js";

const agent = { name: "Console", ref: "console" };
let machines = [];
let chosen = location.hash.slice(1);   // The connection that is looked at.
let watched = null;                    // The connection whose picture is being fetched.

async function command(connection, method, params) {
  // What a hand does is for the screen that it sees now: it must not wait for another agent's end.
  const delivery = { whenUnavailable: "fail" };
  return (await call(`/v1/connections/${encodeURIComponent(connection)}/commands`, { method, params, agent, delivery })).result;
}

const awayTexts = {
  asleep: ["The machine sleeps", "The picture comes back when it wakes."],
  no_gui_session: ["Nobody is logged in", "The machine shows no desktop at this time."],
  screen_locked: ["The screen is locked", "Somebody must unlock it at the machine."],
};

/// What is said over the picture when a command fails: a title and a text.
function explain(error) {
  switch (error.code) {
    case "machine_paused": return ["Paused at the machine", "The person there has paused all agents. Only they can go on."];
    case "agent_paused": return ["Paused at the machine", "The person there has paused this console. Only they can go on."];
    case "machine_unavailable": return awayTexts[error.details.reason] || ["The machine is unavailable", error.message];
    case "machine_offline": return ["The machine is offline", "The picture comes back when it connects again."];
    case "permission_missing":
      return ["A permission is missing", error.details.permission === "accessibility"
        ? "The machine's system does not let Zelvo post input." : "The machine's system does not let Zelvo see the screen."];
    case "scope_denied": return ["Not allowed", "The person has not granted this to the connection."];
    case "not_found": return ["The connection has ended", "It was revoked."];
    case "gateway_gone": return ["The gateway does not answer", "Trying again."];
    default: return ["No picture", error.message];
  }
}

const input = new Input({ picture: $("picture"), screen: $("screen"), keyboard: $("keyboard"), trail: $("trail") }, perform);
const screen = new Screen($("screen"), (method, params) => command(watched, method, params), {
  shown(size, took) {
    input.size = size;
    $("veil").hidden = true;
    $("picture").classList.remove("stale");
    $("rate").textContent = `${Math.min(5, 1000 / took).toFixed(1)} pictures a second`;
    $("help").hidden = false;
    fit();
  },
  failed(error) {
    input.clear();
    input.size = null;
    veil(...explain(error));
  },
});

async function perform(actions) {
  try {
    await command(watched, "actions.perform", { actions });
    $("error").hidden = true;
    return true;
  } catch (error) {
    const [title, text] = explain(error);
    say(title === "No picture" ? text : `${title}. ${text}`);
    return false;
  }
}

let errorTimer = 0;
function say(text) {
  $("error").textContent = text;
  $("error").hidden = false;
  clearTimeout(errorTimer);
  errorTimer = setTimeout(() => { $("error").hidden = true; }, 6000);
}

function veil(title, text) {
  $("veilTitle").textContent = title;
  $("veilText").textContent = text;
  $("veil").hidden = false;
  $("picture").classList.add("stale");
  $("rate").textContent = "";
}

/// The picture keeps its proportions inside the room that the window leaves.
function fit() {
  if (!input.size) return;
  const room = $("frame");
  const scale = Math.min(room.clientWidth / input.size.width, room.clientHeight / input.size.height, 1);
  $("screen").style.width = `${Math.floor(input.size.width * scale)}px`;
}
addEventListener("resize", fit);

function stateOf(machine) {
  const status = machine.machine;
  if (!status.online) return ["", "Offline"];
  if (status.paused) return ["held", "Paused"];
  if (status.availability === "ready") return ["ready", "Ready"];
  return ["held", { asleep: "Asleep", no_gui_session: "No session", screen_locked: "Locked" }[status.availability] || "Connecting"];
}

function entry(machine, connection) {
  const [state, word] = stateOf(machine);
  const title = connection ? `${word} · ${connection.platformName}` : `${word} · not linked`;
  const button = element("button", { type: "button", className: `machine ${state}`, disabled: !connection },
    element("span", { className: "dot" }), element("strong", { textContent: machine.name }),
    element("small", { textContent: machine.kind === "cloud" ? `${title} · unattended` : title }));
  if (connection) {
    button.dataset.connection = connection.id;
    button.setAttribute("aria-current", String(connection.id === chosen));
    button.addEventListener("click", () => choose(connection.id));
  }
  return element("li", {}, button);
}

let drawn = "";
function draw() {
  const key = JSON.stringify([machines, chosen]);
  if (key === drawn) return;
  drawn = key;
  const focused = document.activeElement?.dataset?.connection;
  const rows = machines.flatMap(machine => machine.connections.length > 0
    ? machine.connections.map(connection => entry(machine, connection)) : [entry(machine, null)]);
  $("machines").replaceChildren(...rows);
  if (focused) $("machines").querySelector(`[data-connection="${CSS.escape(focused)}"]`)?.focus();
  $("none").hidden = machines.length > 0;
  drawBar();
}

function chip(text, kind) {
  return element("span", { className: `chip ${kind}`, textContent: text });
}

function found() {
  for (const machine of machines) {
    const connection = machine.connections.find(one => one.id === chosen);
    if (connection) return { machine, connection };
  }
  return null;
}

function drawBar() {
  const now = found();
  $("empty").hidden = Boolean(now);
  for (const id of ["bar", "frame"]) $(id).hidden = !now;
  if (!now) {
    $("help").hidden = true;
    return;
  }
  const status = now.machine.machine;
  const [state, word] = stateOf(now.machine);
  $("name").textContent = now.machine.name;
  const facts = [now.connection.endUserId];
  if (status.display) facts.push(`${status.display.widthPoints} × ${status.display.heightPoints}`);
  if (status.appVersion) facts.push(`Zelvo ${status.appVersion}`);
  facts.push(now.connection.scopes.join(", "));
  $("facts").textContent = facts.join(" · ");
  const chips = [chip(word, state === "ready" ? "" : state === "held" ? "warn" : "bad")];
  if (status.online && status.appVersion && !status.permissions.screenRecording) chips.push(chip("Screen not allowed", "bad"));
  if (status.online && status.appVersion && !status.permissions.accessibility) chips.push(chip("Input not allowed", "bad"));
  $("chips").replaceChildren(...chips);
}

function choose(connection) {
  chosen = connection;
  history.replaceState(null, "", `#${connection}`);
  draw();
  follow();
}

/// Shows the picture of the chosen connection, and of no other.
function follow() {
  const wanted = found() ? chosen : null;
  if (wanted === watched) return;
  screen.stop();
  input.clear();
  input.size = null;
  watched = wanted;
  $("error").hidden = true;
  if (!watched) return;
  veil("Fetching the screen", "");
  screen.start();
}

async function refresh() {
  try {
    machines = (await call("/console/machines")).machines;
    $("notice").textContent = "";
  } catch (error) {
    $("notice").textContent = explain(error).join(". ");
  }
  const linked = machines.flatMap(machine => machine.connections);
  if (!chosen && linked.length === 1) chosen = linked[0].id;
  draw();
  follow();
  setTimeout(refresh, document.hidden ? 10000 : 2000);
}

await requireSession($("logout"));
offerMcp($("mcpOpen"), error => say(error.message));
refresh();
