#!/usr/bin/python3
"""Serves a page with one text field. Writes its port to PORT_FILE, what the field holds to FILE, the selection to
FILE.selection. Each report carries a number, and an older one never replaces a newer."""
import http.server
import json
import os
import sys

port_file, path = sys.argv[1], sys.argv[2]
text = sys.argv[3] if len(sys.argv) > 3 else ""
PAGE = """<!doctype html><meta charset=utf-8><title>Web field</title>
<style>body{margin:0}textarea{width:680px;height:380px;font:16px monospace}</style><textarea id=t autofocus></textarea><p>Field</p>
<script>
const field = document.getElementById("t"); let number = 0;
field.value = TEXT; field.setSelectionRange(0, 0); field.scrollTop = 0;
let painted = false;   // Before its first picture a page is given no keys.
const report = () => painted && fetch("/", {method: "POST", body: JSON.stringify({number: ++number, value: field.value,
    selection: field.value.substring(field.selectionStart, field.selectionEnd), scroll: field.scrollTop,
    focus: document.hasFocus()})});
field.oninput = report; field.onscroll = report; document.onselectionchange = report; window.onfocus = report;
field.onkeydown = event => {   // A page's field would pass the focus on.
    if (event.key === "Tab") { event.preventDefault(); field.setRangeText("\t", field.selectionStart,
        field.selectionEnd, "end"); report(); }};
field.focus();
new PerformanceObserver(() => setTimeout(() => { painted = true; report(); }, 300))
    .observe({type: "paint", buffered: true});
</script>"""
newest = 0


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
        global newest
        report = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        if report["number"] > newest and report["focus"]:
            newest = report["number"]
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
