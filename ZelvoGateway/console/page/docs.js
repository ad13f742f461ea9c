// Shows the gateway's own OpenAPI document. It knows the parts of OpenAPI that this document uses.

const maxDepth = 6; // Of schemas within schemas.
const byId = id => document.getElementById(id);
let api = {};

function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

function resolved(schema) {
  const name = schema.$ref?.split("/").pop();
  return name ? { name, ...api.components.schemas[name] } : schema;
}

function typeText(schema) {
  const full = resolved(schema);
  if (full.const !== undefined)
    return JSON.stringify(full.const);
  if (full.enum)
    return full.enum.map(one => JSON.stringify(one)).join(" | ");
  if (full.oneOf || full.anyOf)
    return "one of " + (full.oneOf ?? full.anyOf).length;
  if (full.type === "array")
    return "list of " + typeText(full.items ?? {});
  return full.name ?? full.type ?? "any";
}

function boundsText(schema) {
  const from = schema.minimum, to = schema.maximum;
  const range = from === undefined && to === undefined ? "" : ` ${from ?? ""} to ${to ?? ""}`;
  return range + (schema.default === undefined ? "" : `, else ${schema.default}`);
}

function hasParts(schema) {
  const full = resolved(schema);
  return !!(full.properties || full.oneOf || full.anyOf || (full.type === "array" && hasParts(full.items ?? {})));
}

function line(name, schema, isNeeded) {
  const parts = [];
  if (name)
    parts.push(element("code", { textContent: name }), " ");
  parts.push(element("span", { className: "type", textContent: typeText(schema) + boundsText(schema) }));
  if (isNeeded)
    parts.push(" ", element("span", { className: "needed", textContent: "required" }));
  const description = resolved(schema).description;
  if (description)
    parts.push(" ", element("span", { className: "what", textContent: description }));
  return parts;
}

function item(name, schema, isNeeded, depth) {
  if (!hasParts(schema) || depth >= maxDepth)
    return element("li", {}, ...line(name, schema, isNeeded));
  // Its parts are made when it is opened: the whole tree would be large.
  const details = element("details", {}, element("summary", {}, ...line(name, schema, isNeeded)));
  details.addEventListener("toggle", () => details.append(schemaTree(schema, depth + 1)), { once: true });
  return element("li", {}, details);
}

function schemaTree(schema, depth = 0) {
  const full = resolved(schema);
  const list = element("ul", { className: "schema" });
  if (full.type === "array")
    return schemaTree(full.items, depth);
  for (const choice of full.oneOf ?? full.anyOf ?? [])
    list.append(item("", choice, false, depth));
  for (const [name, part] of Object.entries(full.properties ?? {}))
    list.append(item(name, part, full.required?.includes(name), depth));
  if (!list.children.length)
    list.append(element("li", {}, ...line("", schema, false)));
  return list;
}

function parameters(operation) {
  const rows = operation.parameters.map(each => element("tr", {},
    element("td", {}, element("code", { textContent: each.name }), element("span", { className: "type", textContent: " in " + each.in })),
    element("td", {}, ...line("", each.schema, each.required), " ", element("span", { className: "what", textContent: each.description ?? "" }))));
  return rows.length ? [element("h3", { textContent: "Parameters" }), element("table", {}, ...rows)] : [];
}

function body(operation) {
  const schema = operation.requestBody?.content["application/json"].schema;
  return schema ? [element("h3", { textContent: "Body" }), schemaTree(schema)] : [];
}

function answers(operation) {
  const parts = [element("h3", { textContent: "Answers" })];
  const errors = element("table");
  for (const [status, answer] of Object.entries(operation.responses)) {
    const name = element("td", {}, element("code", { textContent: status }));
    if (Number(status) >= 400) {
      errors.append(element("tr", {}, name, element("td", { textContent: answer.description })));
      continue;
    }
    parts.push(element("p", {}, element("code", { textContent: status }), " " + answer.description),
      schemaTree(answer.content["application/json"].schema));
  }
  return [...parts, element("h3", { textContent: "Errors" }), errors];
}

function show(path, method, operation) {
  const details = element("details", { className: "operation", id: operation.operationId },
    element("summary", {},
      element("span", { className: "method " + method, textContent: method.toUpperCase() }),
      element("span", { className: "path", textContent: path }),
      element("span", { className: "what", textContent: operation.summary })));
  details.dataset.text = `${method} ${path} ${operation.summary} ${operation.operationId}`.toLowerCase();
  details.addEventListener("toggle", () => {
    details.append(element("div", {}, ...parameters(operation), ...body(operation), ...answers(operation)));
  }, { once: true });
  return details;
}

function showAll() {
  byId("title").textContent = api.info.title;
  byId("overview").textContent = api.info.description;
  byId("version").textContent = api.info.version;
  for (const { name } of api.tags) {
    const group = element("section", {}, element("h2", { textContent: name }));
    for (const [path, methods] of Object.entries(api.paths))
      for (const [method, operation] of Object.entries(methods))
        if (operation.tags.includes(name))
          group.append(show(path, method, operation));
    byId("operations").append(group);
  }
}

function search() {
  const wanted = byId("search").value.trim().toLowerCase();
  for (const operation of document.querySelectorAll(".operation"))
    operation.hidden = !operation.dataset.text.includes(wanted);
  for (const group of byId("operations").children)
    group.hidden = !group.querySelector(".operation:not([hidden])");
  byId("none").hidden = !!document.querySelector(".operation:not([hidden])");
}

function openLinked() {
  const linked = location.hash && byId(location.hash.slice(1));
  if (!linked)
    return;
  linked.open = true;
  linked.scrollIntoView();
}

try {
  const answer = await fetch("/v1/openapi.json", { credentials: "omit" });
  api = await answer.json();
  showAll();
  openLinked();
} catch {
  byId("error").textContent = "The description of the API could not be read. Reload the page to try again.";
  byId("error").hidden = false;
}
byId("search").addEventListener("input", search);
addEventListener("hashchange", openLinked);
