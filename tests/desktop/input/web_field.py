#!/usr/bin/python3
"""Serves a page with one text field. Writes its port to PORT_FILE, what the field holds to FILE, the selection to
FILE.selection. The page sends one report at a time, and the next when it has changed meanwhile."""
import http.server
import json
import os
import sys

port_file, path = sys.argv[1], sys.argv[2]
text = sys.argv[3] if len(sys.argv) > 3 else ""
PAGE = """<!doctype html><meta charset=utf-8><title>Web field</title>
<style>body{margin:0}textarea{width:680px;height:380px;font:16px monospace}</style><textarea id=t autofocus></textarea><p>Field</p>
<script>
const field = document.getElementById("t");
field.value = TEXT; field.setSelectionRange(0, 0); field.scrollTop = 0;
let painted = false;   // Before its first picture a page is given no keys.
let sending = false, changed = false;
const report = async () => {
    changed = true;
    if (!painted || sending) return;
    sending = true;
    while (changed) {
        changed = false;
        await fetch("/", {method: "POST", body: JSON.stringify({value: field.value,
            selection: field.value.substring(field.selectionStart, field.selectionEnd), scroll: field.scrollTop,
            focus: document.hasFocus()})});
    }
    sending = false;
};
field.oninput = report; field.onscroll = report; document.onselectionchange = report; window.onfocus = report;
field.onkeydown = event => {   // A page's field would pass the focus on.
    if (event.key === "Tab") { event.preventDefault(); field.setRangeText("\t", field.selectionStart,
        field.selectionEnd, "end"); report(); }};
field.focus();
new PerformanceObserver(() => setTimeout(() => { painted = true; report(); }, 300))
    .observe({type: "paint", buffered: true});
</script>"""


def write(name, content):
    with open(name + ".new", "w", encoding="utf-8", newline="") as file:
        file.write(content)
    os.rename(name + ".new", name)


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        body = PAGE.replace("TEXT", json.dumps(text)).encode() if self.path == "/" else b""
        self.send_response(200)
        self.send_header("Content-Type", "text/html; charset=utf-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_POST(self):
        report = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        if report["focus"]:
            write(path + ".selection", report["selection"])
            write(path + ".scroll", str(int(report["scroll"])))
            write(path, report["value"])
        self.send_response(204)
        self.end_headers()

    def log_message(self, *_):
        pass


server = http.server.HTTPServer(("127.0.0.1", 0), Handler)
write(port_file, str(server.server_port))
server.serve_forever()
