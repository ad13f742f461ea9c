// The page behind a link: opens the program by its scheme and follows what becomes of the link. The code is in
// the fragment of the address, which browsers send to nobody; it leaves the address bar at once and stays in the
// state of this history entry, for a reload.

const period = 2000; // Milliseconds between two looks at the link.
const patience = 2500; // Until the help opens if the program did not.
const onwardDelay = 1500; // Long enough to read that the link is made.

const byId = id => document.getElementById(id);
let kept = history.state?.code ? history.state : { code: "", wasOpen: false };
let timer = 0;

function keep(changes) {
  kept = { ...kept, ...changes };
  history.replaceState(kept, "", location.pathname);
}

function takeFragment() {
  const code = location.hash.slice(1);
  if (code)
    keep({ code, wasOpen: false });
}

function show(state) {
  for (const section of document.querySelectorAll("[data-state]"))
    section.hidden = section.dataset.state !== state;
  document.title = document.querySelector(`[data-state="${state}"] h1`).textContent;
}

/** The URL as a web address; null for any other, such as a script. */
function webAddress(text) {
  try {
    const url = new URL(text);
    return ["https:", "http:"].includes(url.protocol) ? url : null;
  } catch {
    return null;
  }
}

function showOnward(state, url) {
  const line = document.querySelector(`[data-state="${state}"] .onward`);
  const link = line.querySelector("a");
  line.hidden = !url;
  if (!url)
    return;
  link.href = url.href;
  link.textContent = url.host;
}

function showOpen(link) {
  const url = "zelvo://link?token=" + kept.code;
  byId("program").href = url;
  byId("command").textContent = `zelvo-agent '${url}'`;
  const until = new Date(link.expiresAt);
  byId("until").dateTime = link.expiresAt;
  byId("until").textContent = until.toLocaleTimeString(document.documentElement.lang, { hour: "numeric", minute: "2-digit" });
  show("open");
}

function showCompleted(link) {
  const onward = webAddress(link.redirectUrl);
  const state = kept.wasOpen ? "completed" : "used"; // Nobody is sent on for a link that others completed.
  showOnward(state, onward);
  show(state);
  if (onward && kept.wasOpen)
    setTimeout(() => location.replace(onward.href), onwardDelay);
}

/** Shows what became of the link; true if that can still change. */
function showLink(link) {
  if (link.status === "completed") {
    showCompleted(link);
    return false;
  }
  if (link.status === "expired") {
    show("expired");
    return false;
  }
  if (!kept.wasOpen)
    keep({ wasOpen: true });
  showOpen(link);
  return true;
}

async function ask() {
  const answer = await fetch("/link/state", {
    method: "POST",
    headers: { "Content-Type": "application/json" },
    body: JSON.stringify({ token: kept.code }),
    credentials: "omit",
  });
  if (answer.status === 404 || answer.status === 400)
    return { isUnknown: true };
  if (!answer.ok)
    throw new Error("status " + answer.status);
  return answer.json();
}

async function look() {
  clearTimeout(timer);
  let goesOn = true;
  try {
    const link = await ask();
    byId("trouble").hidden = true;
    if (link.isUnknown)
      show("unknown");
    goesOn = !link.isUnknown && showLink(link);
  } catch {
    byId("trouble").hidden = false;
  }
  clearTimeout(timer);
  if (goesOn)
    timer = setTimeout(look, period);
}

function openedProgram() {
  byId("waiting").hidden = false;
  // A program that opens takes the focus. If none does, the browser does not know it.
  setTimeout(() => { byId("help").open ||= document.hasFocus(); }, patience);
}

async function copyCommand() {
  await navigator.clipboard.writeText(byId("command").textContent);
  byId("copied").hidden = false;
}

byId("program").addEventListener("click", openedProgram);
byId("copy").hidden = !navigator.clipboard; // Browsers have none on plain http.
byId("copy").addEventListener("click", copyCommand);
document.addEventListener("visibilitychange", () => { if (!document.hidden && timer) look(); });
addEventListener("hashchange", () => { takeFragment(); look(); });
takeFragment();
look();
