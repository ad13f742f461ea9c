// The page of API keys: a form for a new one, and the list.

import { $, call, element } from "/page/gateway.js";
import { requireSession } from "/page/session.js";

const dateText = new Intl.DateTimeFormat("en-GB", { day: "numeric", month: "long", year: "numeric" });
const momentText = new Intl.DateTimeFormat("en-GB", { day: "numeric", month: "long", hour: "2-digit", minute: "2-digit" });

let keys = [];
let connections = new Map(); // Machine and end user, by the connection's id.
let asked = "";              // The key whose revocation waits for a second press.

function say(text) {
  $("error").textContent = text;
  $("error").hidden = !text;
}

function nameOf(connection) {
  return connections.get(connection) || connection;
}

function reachText(key) {
  const parts = [...(key.connections || []).map(nameOf), ...(key.endUsers || []).map(user => `every machine of ${user}`)];
  return parts.length ? `Reaches ${parts.join(", ")}` : "Reaches every machine";
}

function timesText(key) {
  const made = `Made ${dateText.format(new Date(key.createdAt))}`;
  if (key.revokedAt) return `${made} · revoked ${momentText.format(new Date(key.revokedAt))}`;
  return `${made} · ${key.lastUsedAt ? `last used ${momentText.format(new Date(key.lastUsedAt))}` : "never used"}`;
}

function button(text, name, press) {
  const made = element("button", { type: "button", className: `button ${name}`, textContent: text });
  made.addEventListener("click", press);
  return made;
}

/// The buttons of a key: revoking it takes two presses.
function acts(key) {
  const group = element("span", { className: "acts" });
  if (key.builtIn || key.revokedAt) return group;
  if (asked !== key.id) {
    const first = button("Revoke", "danger", () => ask(key.id));
    first.setAttribute("aria-label", `Revoke ${key.name}`);
    group.append(first);
  } else {
    group.append(button("Keep it", "keep", () => ask("")), button("Revoke for good", "danger filled", () => revoke(key.id)));
  }
  return group;
}

function row(key) {
  const item = element("li", { className: key.revokedAt ? "key revoked" : "key" },
    element("strong", { textContent: key.name }),
    element("small", {}, element("code", { textContent: `${key.prefix}…` }), ` · ${reachText(key)}`),
    element("small", { textContent: timesText(key) }),
    acts(key));
  item.dataset.key = key.id;
  return item;
}

function draw() {
  const shown = [...keys].sort((left, right) => Boolean(left.revokedAt) - Boolean(right.revokedAt));
  $("keys").replaceChildren(...shown.map(row));
}

function ask(id) {
  const before = asked;
  asked = id;
  draw();
  const item = $("keys").querySelector(`[data-key="${CSS.escape(id || before)}"]`);
  item?.querySelector("button")?.focus();
}

async function revoke(id) {
  asked = "";
  try {
    await call(`/console/keys/${encodeURIComponent(id)}`, null, "DELETE");
  } catch (error) {
    $("notice").textContent = error.message;
  }
  await load();
  $("listTitle").scrollIntoView({ block: "nearest" });
}

function drawConnections(machines) {
  const list = machines.flatMap(machine => machine.connections.map(connection =>
    ({ id: connection.id, text: `${machine.name} · ${connection.endUserId}` })));
  connections = new Map(list.map(one => [one.id, one.text]));
  const checked = new Set(chosenConnections());
  $("connections").replaceChildren(...list.map(one => element("li", {},
    element("label", { className: "option" },
      element("input", { type: "checkbox", value: one.id, checked: checked.has(one.id) }), one.text))));
  $("noConnections").hidden = list.length > 0;
}

function chosenConnections() {
  return [...$("connections").querySelectorAll("input:checked")].map(box => box.value);
}

function wantedKey() {
  const wanted = { name: $("name").value.trim() };
  if (!$("some").checked) return wanted;
  const chosen = chosenConnections();
  const endUsers = $("endUsers").value.split("\n").map(line => line.trim()).filter(line => line);
  if (chosen.length) wanted.connections = chosen;
  if (endUsers.length) wanted.endUsers = endUsers;
  return wanted;
}

async function make(event) {
  event.preventDefault();
  const wanted = wantedKey();
  if ($("some").checked && !wanted.connections && !wanted.endUsers) {
    say("Choose at least one machine, or name an end user.");
    return;
  }
  try {
    const made = await call("/console/keys", wanted);
    say("");
    show(made);
  } catch (error) {
    say(error.message);
  }
  await load();
}

function show({ key, text }) {
  $("madeTitle").textContent = `The key “${key.name}” is made`;
  $("text").value = text;
  $("copy").textContent = "Copy";
  $("new").hidden = true;
  $("made").hidden = false;
  $("madeTitle").focus();
}

/// The key leaves the page, and the form is empty again.
function forget() {
  $("text").value = "";
  $("new").reset();
  $("choices").hidden = true;
  $("made").hidden = true;
  $("new").hidden = false;
  $("name").focus();
}

async function copy() {
  $("text").select();
  try {
    await navigator.clipboard.writeText($("text").value);
    $("copy").textContent = "Copied";
  } catch {
    $("copy").textContent = "Press Ctrl+C"; // Browsers give pages without TLS no clipboard.
    $("text").focus();
  }
}

async function load() {
  try {
    const [listed, overview] = await Promise.all([call("/console/keys"), call("/console/machines")]);
    keys = listed.keys;
    drawConnections(overview.machines);
    $("notice").textContent = "";
  } catch (error) {
    $("notice").textContent = error.message;
  }
  if (!asked) draw();
}

async function refresh() {
  await load();
  setTimeout(refresh, document.hidden ? 30000 : 10000);
}

await requireSession($("logout"));
$("new").addEventListener("submit", make);
$("new").addEventListener("change", () => { $("choices").hidden = !$("some").checked; });
$("copy").addEventListener("click", copy);
$("done").addEventListener("click", forget);
addEventListener("pagehide", forget);
refresh();
