// What the pages have in common: calls to the gateway, and elements.

import { lock, sessionHeaders } from "/page/session.js";

export const $ = id => document.getElementById(id);

export class CallError extends Error {
  constructor(status, error) {
    super(error?.message || `The gateway answered ${status}`);
    this.status = status;
    this.code = error?.code || "";
    this.details = error?.details || {};
  }
}

/// Asks the gateway: GET, or POST when there is a body, unless the method is given.
export async function call(path, body, method) {
  const options = body ? { method: "POST", headers: { "Content-Type": "application/json" }, body: JSON.stringify(body) } : { headers: {} };
  Object.assign(options.headers, sessionHeaders());
  if (method) options.method = method;
  let response;
  try {
    response = await fetch(path, options);
  } catch {
    throw new CallError(0, { code: "gateway_gone", message: "The gateway does not answer" });
  }
  const answer = await response.json().catch(() => ({}));
  if (response.status === 401) lock(); // The session has ended.
  if (!response.ok) throw new CallError(response.status, answer.error);
  return answer;
}

export function element(tag, attributes, ...children) {
  const made = Object.assign(document.createElement(tag), attributes);
  made.append(...children);
  return made;
}
