// The browser's session of the console. Its secret is kept by the pages of this origin, port included, and sent in a
// header: a cookie would go to every port of this host.

const place = "zelvo.console.session";
const header = "X-Zelvo-Console";
const answerTime = 300; // Milliseconds in which another tab tells its session.
const tabs = new BroadcastChannel(place); // Reaches the tabs of this origin only.

tabs.addEventListener("message", ({ data }) => {
  const secret = sessionStorage.getItem(place);
  if (data.asks && secret) tabs.postMessage({ secret });
  if (data.ended && data.ended === secret) leave();
});

/// The headers of a request to the gateway.
export function sessionHeaders() {
  const secret = sessionStorage.getItem(place);
  return secret ? { [header]: secret } : {};
}

/// Exchanges a one-time code for a session. Leaves an older session alone if the gateway refuses the code.
export async function beginSession(code) {
  try {
    const response = await fetch("/console/session",
      { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify({ code }) });
    if (response.ok) sessionStorage.setItem(place, (await response.json()).session);
  } catch {
    // The gateway does not answer; the console's page says so.
  }
}

function leave() {
  sessionStorage.removeItem(place);
  location.replace("/locked");
}

/// The session has ended: leaves for the page that explains how to get in, in every tab.
export function lock() {
  tabs.postMessage({ ended: sessionStorage.getItem(place) });
  leave();
}

async function logOut() {
  try {
    await fetch("/console/session", { method: "DELETE", headers: sessionHeaders() });
  } finally {
    lock();
  }
}

/// The session of another tab; null if there is none.
function askTabs() {
  return new Promise(resolve => {
    tabs.addEventListener("message", ({ data }) => { if (data.secret) resolve(data.secret); });
    tabs.postMessage({ asks: true });
    setTimeout(() => resolve(null), answerTime);
  });
}

/// Waits for a session, and leads to the locked page if there is none; the button ends it.
export async function requireSession(button) {
  button.addEventListener("click", logOut);
  if (sessionStorage.getItem(place)) return;
  const secret = await askTabs();
  if (secret) sessionStorage.setItem(place, secret);
  else leave();
}
