"""Web servers on this machine alone, with a certificate authority of their own that is made when they start and that nobody else trusts.

usage: https_server.py FOLDER      serves FOLDER/files; FOLDER/ca.pem is the authority; the ports are printed as one line of JSON
"""

import http.server
import json
import socketserver
import ssl
import subprocess
import sys
import threading
import time
from pathlib import Path

HOSTS = "DNS:localhost,IP:127.0.0.1"


def openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, stdin=subprocess.DEVNULL, capture_output=True)


class Authority:
    """A certificate authority in a folder."""

    KEY = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes")

    def __init__(self, folder, name="ca"):
        self.folder, self.name = Path(folder), name
        openssl(self.folder, "req", "-x509", *self.KEY, "-keyout", f"{name}.key", "-out", f"{name}.pem", "-days", "2",
                "-subj", f"/CN=Authority {name} of a test")

    @property
    def certificate(self):
        return self.folder / f"{self.name}.pem"

    def context(self, name, hosts=HOSTS, days=1):
        """A server's side of TLS with a certificate for `hosts`; with negative `days` it has expired."""
        stem = f"{self.name}-{name}"
        openssl(self.folder, "req", *self.KEY, "-keyout", f"{stem}.key", "-out", f"{stem}.csr", "-subj", f"/CN={name}")
        (self.folder / f"{stem}.ext").write_text(f"subjectAltName={hosts}\n", encoding="ascii")
        openssl(self.folder, "x509", "-req", "-in", f"{stem}.csr", "-CA", f"{self.name}.pem", "-CAkey", f"{self.name}.key", "-CAcreateserial",
                "-days", str(days), "-extfile", f"{stem}.ext", "-out", f"{stem}.pem")
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.folder / f"{stem}.pem", self.folder / f"{stem}.key")
        return context


class Handler(http.server.BaseHTTPRequestHandler):
    """Files, and answers that go wrong in every way a test needs, by the first part of the path."""

    protocol_version = "HTTP/1.1"

    def log_message(self, *_):
        pass

    def do_GET(self):
        self.server.requests.append(self.path)
        self.path = self.server.instead.get(self.path, self.path)
        name, _, rest = self.path[1:].partition("/")
        answer = getattr(self, f"answer_{name}", None)
        try:
            if answer:
                answer(rest)
            else:
                self.send_file()
        except (ConnectionError, ssl.SSLError):
            pass  # the other side has had enough

    def send(self, body, status=200, **headers):
        self.send_response(status)
        self.send_header("Content-Length", str(len(body)))
        for header, value in headers.items():
            self.send_header(header.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(body)

    def send_file(self):
        path = self.server.files / self.path[1:]
        if path.is_file():
            self.send(path.read_bytes())
        else:
            self.send(b"<html><body>404 Not Found</body></html>", 404, Content_Type="text/html")

    def begin_endless(self, length):
        self.send_response(200)
        self.send_header("Content-Length", str(length))
        self.end_headers()
        self.close_connection = True

    def answer_status(self, code):
        self.send(f"the page of {code}".encode(), int(code))

    def answer_silent(self, _):
        """Never answers at all."""
        self.server.released.wait()

    def answer_stall(self, _):
        """Begins and then stands still."""
        self.begin_endless(1000)
        self.wfile.write(b"some bytes")
        self.server.released.wait()

    def answer_trickle(self, pause):
        """A byte now and then."""
        self.begin_endless(1000)
        while not self.server.released.wait(float(pause)):
            self.wfile.write(b"x")

    def answer_slowly(self, pause):
        """Ten bytes, each after a pause; complete."""
        self.begin_endless(10)
        for _ in range(10):
            time.sleep(float(pause))
            self.wfile.write(b"x")

    def answer_short(self, _):
        """Ends before its announced end."""
        self.begin_endless(1000)
        self.wfile.write(b"some bytes")

    def answer_size(self, size):
        self.send(b"x" * int(size))

    def answer_chunked(self, size):
        """A body whose length nobody announces."""
        self.send_response(200)
        self.send_header("Transfer-Encoding", "chunked")
        self.end_headers()
        left = int(size)
        while left > 0:
            count = min(left, 50000)
            self.wfile.write(b"%x\r\n%s\r\n" % (count, b"x" * count))
            left -= count
        self.wfile.write(b"0\r\n\r\n")

    def answer_headers(self, _):
        """What was asked for, as text."""
        self.send(str(self.headers).encode())

    def answer_to(self, address):
        """A redirect to the rest of the path, an address of its own."""
        self.send(b"elsewhere", 302, Location=address)

    def answer_loop(self, number):
        self.send(b"again", 302, Location=f"/loop/{int(number) + 1}")


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    """Serves in threads of its own until this process ends, or until `stop`."""

    daemon_threads = True

    def __init__(self, files, context=None, port=0):
        super().__init__(("127.0.0.1", port), Handler)
        self.files, self.context, self.requests = Path(files), context, []
        self.instead = {}  # the path to answer for, where it is another than was asked for
        self.released = threading.Event()
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()

    def finish_request(self, request, client_address):
        # In the connection's own thread: a client that stops in the middle of the handshake keeps no other waiting.
        if self.context:
            try:
                request = self.context.wrap_socket(request, server_side=True)
            except (OSError, ssl.SSLError):
                return
        super().finish_request(request, client_address)

    def handle_error(self, _request, _client_address):
        pass

    def stop(self):
        self.released.set()
        self.shutdown()
        self.server_close()


def main():
    folder = Path(sys.argv[1])
    files = folder / "files"
    files.mkdir(exist_ok=True)
    authority, stranger = Authority(folder), Authority(folder, "stranger")
    contexts = {"valid": authority.context("valid"), "expired": authority.context("expired", days=-1),
                "otherHost": authority.context("other", hosts="DNS:elsewhere.example"), "unknown": stranger.context("unknown"), "plain": None}
    servers = {name: Server(files, context) for name, context in contexts.items()}
    print(json.dumps({name: server.server_port for name, server in servers.items()}), flush=True)
    sys.stdin.read()  # until whoever started this closes it, or ends


if __name__ == "__main__":
    main()
