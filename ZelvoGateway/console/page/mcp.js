// How an MCP client is connected: configurations to paste.

import { $, call } from "/page/gateway.js";

function configuration(server) {
  return JSON.stringify({ mcpServers: { zelvo: server } }, null, 2);
}

async function show() {
  const setup = await call("/console/mcp");
  $("mcpLocal").textContent = configuration({ command: setup.command, args: setup.arguments });
  $("mcpHttp").textContent = configuration({
    type: "http", url: setup.url, headers: { Authorization: `Bearer \${${setup.keyVariable}}` },
  });
  $("mcpKey").textContent = `export ${setup.keyVariable}="$(cat ${shellQuoted(setup.keyFile)})"`;
  $("mcp").showModal();
}

function shellQuoted(text) {
  return /^[\w@%+=:,./-]+$/.test(text) ? text : `'${text.replaceAll("'", `'"'"'`)}'`;
}

function select(content) {
  const selection = getSelection();
  selection.removeAllRanges();
  const range = document.createRange();
  range.selectNodeContents(content);
  selection.addRange(range);
}

async function copy(button) {
  const content = $(button.dataset.copies);
  try {
    await navigator.clipboard.writeText(content.textContent); // Missing where the page came without TLS from afar.
    button.textContent = "Copied";
  } catch {
    select(content);
    button.textContent = "Press Ctrl+C";
  }
  setTimeout(() => { button.textContent = "Copy"; }, 3000);
}

/// The button opens the dialog; failed(error) says why it cannot.
export function offerMcp(button, failed) {
  button.addEventListener("click", () => show().catch(failed));
  $("mcpClose").addEventListener("click", () => $("mcp").close());
  for (const one of $("mcp").querySelectorAll("[data-copies]")) one.addEventListener("click", () => copy(one));
}
