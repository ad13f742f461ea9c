#!/usr/bin/env python3
"""Serves a folder over HTTPS on a free port of this machine, with byte ranges.

Usage: update_server.py FOLDER CERTIFICATE KEY PORT_FILE

Each request is printed as a line: method, path, range. While the file "slow" is in FOLDER, a body stops after 64 KiB.
"""
import http.server
import os
import pathlib
import re
import ssl
import sys
import threading

FOLDER = pathlib.Path(sys.argv[1])


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        asked = self.headers.get("Range", "")
        print("GET", self.path, asked, flush=True)
        file = FOLDER / self.path.lstrip("/")
        if "/" in self.path.lstrip("/") or not file.is_file():
            self.send_error(404)
            return
        content = file.read_bytes()
        found = re.fullmatch(r"bytes=(\d+)-", asked)
        begin = int(found[1]) if found else 0
        self.send_response(206 if found else 200)
        if found:
            self.send_header("Content-Range", f"bytes {begin}-{len(content) - 1}/{len(content)}")
        self.send_header("Content-Length", str(len(content) - begin))
        self.end_headers()
        self.send_body(content[begin:])

    def send_body(self, content):
        if (FOLDER / "slow").exists() and len(content) > 65536:
            self.wfile.write(content[:65536])
            self.wfile.flush()
            threading.Event().wait()
        self.wfile.write(content)

    def log_message(self, *arguments):
        pass


def main():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(sys.argv[2], sys.argv[3])
    server.socket = context.wrap_socket(server.socket, server_side=True)
    written = pathlib.Path(sys.argv[4] + ".new")
    written.write_text(str(server.server_address[1]))
    os.rename(written, sys.argv[4])
    server.serve_forever()


main()
