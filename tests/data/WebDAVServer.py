"""As much of a WebDAV server (RFC 4918) as a file system needs to be mounted from it.

Serves the folder given as the argument on a free port of the loopback interface, which it prints.
"""
import email.utils
import http.server
import os
import sys
import urllib.parse
import xml.sax.saxutils

ROOT = os.path.realpath(sys.argv[1])


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *_):
        pass

    def file(self):
        name = urllib.parse.unquote(urllib.parse.urlsplit(self.path).path)
        return os.path.join(ROOT, os.path.normpath(name).lstrip("/"))

    def answer(self, status, body=b"", **headers):
        self.send_response(status)
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        if self.command != "HEAD":
            self.wfile.write(body)

    def do_OPTIONS(self):
        self.answer(200, DAV="1", Allow="OPTIONS, GET, HEAD, PUT, DELETE, MKCOL, PROPFIND")

    def do_GET(self):
        if not os.path.isfile(self.file()):
            return self.answer(404)
        with open(self.file(), "rb") as file:
            self.answer(200, file.read(), Last_Modified=self.modified(self.file()))

    do_HEAD = do_GET

    def do_PUT(self):
        with open(self.file(), "wb") as file:
            file.write(self.rfile.read(int(self.headers.get("Content-Length", 0))))
        self.answer(201)

    def do_PROPFIND(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        path = self.file()
        if not os.path.exists(path):
            return self.answer(404)
        items = [path]
        if self.headers.get("Depth") != "0" and os.path.isdir(path):
            items += [os.path.join(path, name) for name in os.listdir(path)]
        text = "".join(map(self.properties, items))
        body = f'<?xml version="1.0" encoding="utf-8"?><D:multistatus xmlns:D="DAV:">{text}</D:multistatus>'
        self.answer(207, body.encode(), Content_Type='application/xml; charset="utf-8"')

    def modified(self, path):
        return email.utils.formatdate(os.path.getmtime(path), usegmt=True)

    def properties(self, path):
        address = "/" + urllib.parse.quote(os.path.relpath(path, ROOT)) if path != ROOT else "/"
        if os.path.isdir(path):
            address = address.rstrip("/") + "/"
            kind = "<D:resourcetype><D:collection/></D:resourcetype>"
        else:
            kind = f"<D:resourcetype/><D:getcontentlength>{os.path.getsize(path)}</D:getcontentlength>"
        return (
            f"<D:response><D:href>{xml.sax.saxutils.escape(address)}</D:href><D:propstat><D:prop>{kind}"
            f"<D:getlastmodified>{self.modified(path)}</D:getlastmodified></D:prop>"
            "<D:status>HTTP/1.1 200 OK</D:status></D:propstat></D:response>"
        )


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(server.server_address[1], flush=True)
server.serve_forever()
