// From the browser's key events to the key names of the wire.

const named = {
  Equal: "equal", Minus: "minus", BracketRight: "rightbracket", BracketLeft: "leftbracket", Quote: "quote",
  Semicolon: "semicolon", Backslash: "backslash", Comma: "comma", Slash: "slash", Period: "period", Backquote: "grave",
  Enter: "return", NumpadEnter: "return", Tab: "tab", Space: "space", Backspace: "backspace", Escape: "escape",
  Delete: "forwarddelete", Home: "home", End: "end", PageUp: "pageup", PageDown: "pagedown", ArrowLeft: "left",
  ArrowRight: "right", ArrowDown: "down", ArrowUp: "up",
};

const speaking = new Set(["Enter", "Tab", "Backspace", "Escape", "Delete", "Home", "End", "PageUp", "PageDown",
  "ArrowLeft", "ArrowRight", "ArrowDown", "ArrowUp"]);

/// The wire name of the key at the event's place on the keyboard; nothing when it has none.
function keyName(event) {
  const code = event.code || event.key;
  if (/^Key[A-Z]$/.test(code)) return code.slice(3).toLowerCase();
  if (/^(Digit|Numpad)[0-9]$/.test(code)) return code.slice(-1);
  if (/^F([1-9]|1[0-2])$/.test(code)) return code.toLowerCase();
  return named[code] || named[event.key];
}

/// The modifiers that are held, by their wire names.
export function modifiersOf(event) {
  const held = [];
  if (event.metaKey) held.push("cmd");
  if (event.ctrlKey) held.push("ctrl");
  if (event.altKey) held.push("alt");
  if (event.shiftKey) held.push("shift");
  return held;
}

/// The chord that a key event stands for; nothing when it is text, a modifier alone, or a key without a name.
export function chordOf(event) {
  if (["Shift", "Control", "Alt", "AltGraph", "Meta", "CapsLock", "Dead", "Process"].includes(event.key)) return null;
  const typesText = event.getModifierState("AltGraph");
  const chord = !typesText && (event.ctrlKey || event.altKey || event.metaKey);
  const special = speaking.has(event.key) || /^F([1-9]|1[0-2])$/.test(event.key);
  if (!chord && !special) return null;
  const name = keyName(event);
  return name ? [...modifiersOf(event), name] : null;
}
