#!/usr/bin/env python3
"""What clients that mean harm, or are many, can do to kaveldesk serve: hostile_test.py KAVELDESK SAMPLES"""

import contextlib
import gzip
import hashlib
import os
import re
import selectors
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tarfile
import tempfile
import time
import unittest
import urllib.parse

KAVELDESK, SAMPLES = sys.argv[1:3]
HASH = "0123456789abcdef" * 4
GOOD_HOST = "Host: 127.0.0.1\r\n"
# The server gives a client a few seconds. What has to be quicker than that is tried again, because a
# busy machine can stop a test for longer.
TRIES = 5


class Server:
    """A server and its folder of archives."""

    def __init__(self, folder, *options):
        self.process = subprocess.Popen(
            [KAVELDESK, "serve", *([] if "--db" in options else ["--db", folder + "/index.db"]), *options],
            stdout=subprocess.PIPE, text=True)
        self.port = int(re.search(r":(\d+)/", self.process.stdout.readline())[1])

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), timeout=120)

    def ask(self, head):
        """The whole reply to the bytes of a request."""
        for i in range(TRIES):
            with self.connect() as client:
                try:
                    client.sendall(head if isinstance(head, bytes) else head.encode())
                    client.shutdown(socket.SHUT_WR)
                except (BrokenPipeError, ConnectionResetError):
                    pass  # refused before all of it was sent
                try:
                    return read_all(client)
                except ConnectionResetError:  # the server reads the rest for a second
                    if i == TRIES - 1:
                        raise

    def get(self, path, headers=""):
        return self.ask(f"GET {path} HTTP/1.1\r\n{GOOD_HOST}{headers}\r\n")

    def proc(self, name):
        return f"/proc/{self.process.pid}/{name}"

    def sockets(self):
        links = []
        for number in os.listdir(self.proc("fd")):
            with contextlib.suppress(FileNotFoundError):
                links.append(os.readlink(self.proc("fd/" + number)))
        return [link for link in links if link.startswith("socket:")]

    def processor_seconds(self):
        with open(self.proc("stat"), encoding="ascii") as file:
            fields = file.read().rsplit(")", 1)[1].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def stop(self):
        """Ends it as Ctrl-C does. Returns exit status and seconds."""
        start = time.monotonic()
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(120), time.monotonic() - start

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


def read_all(client):
    reply = b""
    while piece := client.recv(65536):
        reply += piece
    return reply


def status_of(reply):
    return int(reply.split(b" ", 2)[1]) if reply.startswith(b"HTTP/1.1 ") else 0


class Hostile(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = cls.temporary.name
        cls.archives = cls.folder + "/archives"
        os.mkdir(cls.archives)
        subprocess.run([SAMPLES, cls.archives, "20"], check=True)
        subprocess.run([KAVELDESK, "index", cls.archives, "--db", cls.folder + "/index.db"],
                       check=True, stdout=subprocess.DEVNULL)
        cls.server = Server(cls.folder, "--listen", "127.0.0.1:0")
        cls.hashes = re.findall(rb"/report/([0-9a-f]{64})\">([^<]*)", cls.server.get("/catches"))

    @classmethod
    def tearDownClass(cls):
        cls.server.close()
        cls.temporary.cleanup()

    def start(self, *arguments):
        """A server that ends with the test."""
        server = Server(*arguments)
        self.addCleanup(server.close)
        return server

    def index_with(self, folder, archive):
        """Makes FOLDER/index.db, which takes ARCHIVE for one that it has indexed. Returns its hash."""
        wanted = hashlib.sha256(archive).hexdigest()
        with open(folder + "/archive", "wb") as file:
            file.write(archive)
        shutil.copy(self.folder + "/index.db", folder)
        with contextlib.closing(sqlite3.connect(folder + "/index.db")) as connection:
            connection.execute("UPDATE catches SET hash = ?, path = ? WHERE id = 1", (wanted, folder + "/archive"))
            connection.commit()
        return wanted

    # Would catch a path that reaches the file system, a request that writes, a name of another
    # site, and a limit that is not there.
    def test_refuses(self):
        secret = self.folder + "/index.db"
        get = "GET {} HTTP/1.1\r\n" + GOOD_HOST + "\r\n"
        with_host = "GET / HTTP/1.1\r\n{}\r\n"
        cases = [(get.format(path), 404) for path in (
            secret, "/" + secret, "/.." + secret, "/../../../../.." + secret, "/%2e%2e/%2e%2e/etc/passwd",
            "/report/../../../../../etc/passwd", "/report/%2Fetc%2Fpasswd", "/report/" + secret,
            "/report/" + HASH, "/report/" + HASH.upper(), f"/report/{HASH}/../..{secret}",
            f"/report/{HASH}%00", "/page.css/../../etc/passwd", "/page.css%00", "/..\\..\\etc\\passwd",
            "/fingerprint/", "/fingerprint/%3Cb%3E", "/fingerprint/" + "0" * 16, "http://127.0.0.1/etc/passwd")]
        cases += [(with_host.format(hosts), 403) for hosts in (
            "", "Host: evil.example\r\n", "Host: 127.0.0.1.evil.example\r\n", "Host: localhost.evil.example:80\r\n",
            "Host: 127.0.0.1\r\nHost: evil.example\r\n", "Host: \r\n", "Host: [::1\r\n")]
        cases += [(with_host.format(f"Host: {host}\r\n"), 200) for host in (
            "localhost", "LOCALHOST:9", "127.0.0.1:80", "[::1]:80", "[::1]", socket.gethostname())]
        cases += [(f"{method} / HTTP/1.1\r\n{GOOD_HOST}Content-Length: 99999999999\r\n\r\nbody", 405)
                  for method in ("POST", "PUT", "DELETE", "OPTIONS", "PATCH")]
        cases += [(get.format("/catches?" + query), 400) for query in (
            "behind=1", "behind=x." + HASH, "since=yesterday", "until=%00")]
        cases += [
            (get.format("/?process='%20OR%20'1'='1"), 200),
            (get.format("/" + "a" * 9000), 431),
            ("GET / HTTP/1.1\r\n" + GOOD_HOST + "X: " + "a" * 9000 + "\r\n\r\n", 431),
            (b"a" * 1_000_000, 431),
            ("GET / HTTP/1.1\r\n" + GOOD_HOST + "X: y\r\n" * 2000 + "\r\n", 431),
            (b"\x00\xff\r\n\r\n", 400),
            ("\r\n\r\n", 400),
            ("BREW / HTTP/1.1\r\n" + GOOD_HOST + "\r\n", 400),
            ("GET / HTTP/9\r\n" + GOOD_HOST + "\r\n", 400),
            ("GET / HTTP/1.1\r\n" + GOOD_HOST, 0),
        ]
        for head, status in cases:
            with self.subTest(head=head[:120]):
                reply = self.server.ask(head)
                self.assertEqual(status_of(reply), status)
                self.assertNotIn(b"root:", reply)
                self.assertNotIn(b"SQLite format", reply)
        whole = self.server.get("/")
        ranges = self.server.get("/", "Range: bytes=" + ",".join(["0-"] * 2000) + "\r\n")
        self.assertEqual((status_of(ranges), len(ranges)), (200, len(whole)))
        head = self.server.ask("HEAD / HTTP/1.1\r\n" + GOOD_HOST + "\r\n")
        self.assertTrue(head.endswith(b"\r\n\r\n"))
        self.assertIn("ADDRESS:PORT=127.0.0.1:8080", subprocess.run(
            [KAVELDESK, "serve", "--help"], capture_output=True, text=True, check=True).stdout)
        for number in os.listdir(self.server.proc("fd")):
            if os.readlink(self.server.proc("fd/" + number)).endswith("index.db"):
                with open(self.server.proc("fdinfo/" + number), encoding="ascii") as file:
                    flags = int(re.search(r"flags:\s*(\d+)", file.read())[1], 8)
                self.assertEqual(flags & os.O_ACCMODE, os.O_RDONLY)
        for header in (b"script-src 'self'", b"X-Content-Type-Options: nosniff", b"Cache-Control: no-store"):
            self.assertIn(header, head)

    # Would catch a text of an archive or a request that becomes markup.
    def test_texts_stay_texts(self):
        text = "\"'><b>&amp;\u202e\x01"
        shown = b"&quot;&#39;&gt;&lt;b&gt;&amp;amp;\\xE2\\x80\\xAE\\x01"
        folder = self.folder + "/texts"
        os.mkdir(folder)
        shutil.copy(self.folder + "/index.db", folder)
        with contextlib.closing(sqlite3.connect(folder + "/index.db")) as connection:
            fingerprint = connection.execute("SELECT fingerprint FROM catches").fetchone()[0]
            for table, columns in (("catches", ("event", "process", "build", "headline", "archive")),
                                   ("daily", ("kind",)), ("findings", ("kind", "weight")),
                                   ("fingerprints", ("kind", "signature", "headline"))):
                for column in columns:
                    connection.execute(f"UPDATE {table} SET {column} = ?", (text,))
            connection.commit()
        server = self.start(folder, "--listen", "127.0.0.1:0")
        # A text is also in the form, the links and the message about a time that is none.
        for path, fewest in (("/", 1), ("/catches", 4), ("/fingerprint/" + fingerprint, 8),
                             ("/catches?process=" + urllib.parse.quote(text), 1),
                             ("/?since=" + urllib.parse.quote(text), 1)):
            with self.subTest(path=path):
                reply = server.get(path)
                self.assertNotIn(b"<b>", reply)
                self.assertNotRegex(reply, rb"[\x00-\x08]|\xe2\x80\xae")
                self.assertGreaterEqual(reply.count(shown), fewest)

    # Would catch a report of what has replaced the archive, and a read that never ends.
    def test_reports_only_what_was_indexed(self):
        (changed, changed_name), (pipe, pipe_name), (good, _) = self.hashes[:3]
        with open(os.path.join(self.archives, changed_name.decode()), "ab") as archive:
            archive.write(b"more")
        path = os.path.join(self.archives, pipe_name.decode())
        os.remove(path)
        os.mkfifo(path)
        for wanted, status in ((changed, 404), (pipe, 404), (good, 200)):
            reply = self.server.get("/report/" + wanted.decode())
            self.assertEqual(status_of(reply), status)
        self.assertIn(b"Content-Security-Policy: sandbox allow-scripts", reply)
        self.assertEqual(reply.count(b"Content-Security-Policy: "), 1)

    # Would catch a server that serves as many clients as it has threads.
    def test_serves_200_clients_at_once(self):
        self.assertTrue(any(self.serves_200_clients() for _ in range(TRIES)))

    def serves_200_clients(self):
        clients = [self.server.connect() for _ in range(200)]
        try:
            for client in clients:
                client.sendall(f"GET / HTTP/1.1\r\n{GOOD_HOST}".encode())
            for client in clients:
                client.sendall(b"\r\n")
            return all(status_of(read_all(client)) == 200 for client in clients)
        except OSError:
            return False
        finally:
            for client in clients:
                client.close()

    # Would catch clients that keep threads or places by sending or reading slowly.
    def test_slow_clients_stop_nobody(self):
        for _ in range(TRIES):
            start = time.monotonic()
            slow = [self.server.connect() for _ in range(300)]
            self.send_slowly(slow)
            for _ in range(20):
                self.assertEqual(status_of(self.server.get("/")), 200)
            self.assertLessEqual(len(self.server.sockets()), 1 + 256)
            if time.monotonic() - start < 4:  # before the deadline of the others
                break
            for client in slow:
                client.close()
        else:
            self.fail("others wait for slow clients")
        # Those that send a byte now and then end at the deadline all the same.
        end = time.monotonic() + 120
        waiting = {client for i, client in enumerate(slow) if i % 10 != 0}
        with selectors.DefaultSelector() as selector:
            for client in waiting:
                selector.register(client, selectors.EVENT_READ)
            while waiting and time.monotonic() < end:
                for key, _ in selector.select(0.5):
                    selector.unregister(key.fileobj)
                    waiting.remove(key.fileobj)
                for client in waiting:
                    try:
                        client.send(b"x")
                    except OSError:
                        pass  # the next select() finds it
        self.assertEqual(len(waiting), 0)
        for client in slow:
            client.close()

    def send_slowly(self, clients):
        """Every tenth reads nothing; the others do not end their heads."""
        report = f"GET /report/{self.hashes[5][0].decode()} HTTP/1.1\r\n{GOOD_HOST}\r\n".encode()
        for i, client in enumerate(clients):
            try:
                client.sendall(report if i % 10 == 0 else b"GET / HTTP/1.1\r\nX: ")
            except OSError:
                pass  # its place went to another one

    # Would catch a reply that waits for ever for its client.
    def test_a_client_that_takes_nothing_loses_its_reply(self):
        folder = self.folder + "/stalled"
        os.mkdir(folder)
        text = "\n".join(os.urandom(32).hex() for _ in range(400_000))  # more than sockets hold
        wanted = self.index_with(folder, gzip.compress(text.encode(), 1))
        server = self.start(folder, "--listen", "127.0.0.1:0")
        with socket.socket() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
            client.connect(("127.0.0.1", server.port))
            client.sendall(f"GET /report/{wanted} HTTP/1.1\r\n{GOOD_HOST}\r\n".encode())
            head = client.recv(1000)
            self.assertGreater(int(re.search(rb"Content-Length: (\d+)", head)[1]), 10_000_000)
            end = time.monotonic() + 120
            while len(server.sockets()) > 1:  # without the one that listens
                self.assertLess(time.monotonic(), end)
                time.sleep(0.05)

    # Would catch an address that others reach without a token, and a comparison that is none.
    def test_wants_a_token_where_others_reach_it(self):
        server = self.start(self.folder, "--listen", "0.0.0.0:0")
        self.assertEqual(status_of(server.get("/")), 401)
        token = server.process.stdout.readline().split()[1]
        self.assertEqual(len(token), 64)
        cookie = re.search(rb"Set-Cookie: (kaveldesk=\w{64}); HttpOnly; SameSite=Strict",
                           server.get("/login", f"Authorization: Bearer {token}\r\n"))[1].decode()
        for headers, status in (
                ("", 401), (f"Authorization: Bearer {token[:-1]}x\r\n", 401), ("Authorization: Bearer \r\n", 401),
                (f"Authorization: Basic {token}\r\n", 401), ("Cookie: kaveldesk=\r\n", 401),
                (f"Cookie: kaveldesk={token}\r\n", 401), (f"Cookie: {cookie}x\r\n", 401),
                (f"Authorization: Bearer {token}\r\n", 200), (f"Cookie: a=b; {cookie}\r\n", 200)):
            for path in ("/", "/catches", "/changes", "/report/" + self.hashes[5][0].decode()):
                with self.subTest(headers=headers, path=path):
                    reply = server.get(path, headers)
                    self.assertEqual(status_of(reply), status)
                    self.assertEqual(b"PHX110" in reply, status == 200 and path in ("/", "/catches"))
        self.assertEqual(status_of(server.get("/?token=" + token)), 401)
        self.assertNotIn(b"Set-Cookie", server.get("/login", "Authorization: Bearer x\r\n"))

    # Would catch an end that waits for clients, and errors without a sentence.
    def test_begins_with_a_sentence_and_ends_at_once(self):
        port = f"127.0.0.1:{self.server.port}"
        for options, status, text in (
                (["--listen", port], 1, f"cannot listen at {port}: another program listens there"),
                (["--listen", "example:80"], 2, "'example:80' is not an address"),
                (["--listen", "127.0.0.1:65536"], 2, "is not an address"),
                (["--db", self.folder + "/none.db"], 1, "there is no index yet"),
                (["--watch", self.folder + "/none", "--listen", "127.0.0.1:0"], 1, "is not a folder"),
                (["--watch", "", "--listen", "127.0.0.1:0"], 1, "'' is not a folder"),
                (["--token-file", ""], 1, "has no token"),
                (["--token-file", "/dev/null"], 1, "has no token")):
            command = [KAVELDESK, "serve", *options]
            if "--db" not in options:
                command += ["--db", self.folder + "/index.db"]
            result = subprocess.run(command, capture_output=True, text=True, timeout=120, check=False)
            with self.subTest(options=options):
                self.assertEqual((result.returncode, result.stdout), (status, ""))
                self.assertIn(text, result.stderr)
        for _ in range(TRIES):
            server = self.start(self.folder, "--listen", "127.0.0.1:0")
            held = [server.connect() for _ in range(10)]
            for client in held:
                client.sendall(b"GET / HTTP/1.1\r\n")
            status, seconds = server.stop()
            self.assertEqual(status, 0)
            for client in held:
                client.close()
            if seconds < 4:  # before the deadline of the clients
                return
        self.fail("the end waits for clients")

    # Would catch an end that waits for a report, or for the index of an archive.
    def test_ends_while_an_archive_is_read(self):
        folder = self.folder + "/slow"
        os.mkdir(folder)
        trace = tarfile.TarInfo("x/perfetto_trace")  # many seconds to unpack
        trace.size = 128 << 26
        archive = gzip.compress(trace.tobuf()) + gzip.compress(bytes(64 << 20)) * 128
        wanted = self.index_with(folder, archive)
        os.mkdir(folder + "/watched")
        os.link(folder + "/archive", folder + "/watched/slow.tar.gz")
        for options, database, request in (
                ([], folder + "/index.db", f"GET /report/{wanted} HTTP/1.1\r\n{GOOD_HOST}\r\n"),
                (["--watch", folder + "/watched"], folder + "/new.db", "")):
            with self.subTest(options=options):
                server = self.start(folder, "--listen", "127.0.0.1:0", "--db", database, *options)
                with server.connect() as client:
                    client.sendall(request.encode())
                    while server.processor_seconds() < 0.5:
                        self.assertIsNone(server.process.poll())
                        time.sleep(0.01)
                    status, seconds = server.stop()
                self.assertEqual(status, 0)
                self.assertLess(seconds, 6)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
