#!/usr/bin/env python3
"""Delivery over TLS, to a receiver whose certificate is made for the test."""

import http.server
import json
import os
import ssl
import subprocess
import sys
import tempfile
import threading
import unittest

REPORTER = sys.argv.pop(1)


class Receiver(http.server.ThreadingHTTPServer):
    """Notes the numbers of the events that arrive."""

    def __init__(self, certificate):
        super().__init__(("127.0.0.1", 0), Handler)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate)
        self.socket = context.wrap_socket(self.socket, server_side=True)
        self.numbers = []
        self.url = f"https://127.0.0.1:{self.server_port}"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, request, client_address):
        pass  # Handshakes fail here because they have to.


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        for record in body["resourceLogs"][0]["scopeLogs"][0]["logRecords"]:
            values = {a["key"]: a["value"] for a in record["attributes"]}
            self.server.numbers.append(int(values["number"]["intValue"]))
        self.send_response(200)
        self.send_header("Content-Length", "2")
        self.end_headers()
        self.wfile.write(b"{}")

    def log_message(self, *args):
        pass


class TlsTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.certificate = cls.make_certificate("mine.pem", "IP:127.0.0.1")

    @classmethod
    def make_certificate(cls, name, subject):
        path = os.path.join(cls.directory.name, name)
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=receiver",
             "-addext", f"subjectAltName={subject}", "-keyout", path, "-out", path + ".crt"],
            check=True, stderr=subprocess.DEVNULL)
        with open(path, "a") as both, open(path + ".crt") as certificate:
            both.write(certificate.read())
        return path

    def report(self, receiver, way, **variables):
        environment = {k: v for k, v in os.environ.items() if not k.lower().endswith("_proxy")}
        environment.update(variables, OTEL_EXPORTER_OTLP_ENDPOINT=receiver.url)
        result = subprocess.run([REPORTER, way, "10"], env=environment, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stderr

    def test_a_receiver_that_is_trusted_gets_all_even_after_exit_handlers(self):
        receiver = Receiver(self.certificate)
        log = self.report(receiver, "late", OTEL_EXPORTER_OTLP_CERTIFICATE=self.certificate)
        self.assertEqual(sorted(receiver.numbers), list(range(20)))
        self.assertEqual(log, "")

    def test_a_receiver_that_is_not_trusted_gets_nothing(self):
        receiver = Receiver(self.certificate)
        log = self.report(receiver, "exit")
        self.assertEqual(receiver.numbers, [])
        self.assertIn("certificate", log)
        self.assertIn("10 in all", log)

    def test_a_receiver_with_the_certificate_of_another_gets_nothing(self):
        certificate = self.make_certificate("other.pem", "DNS:elsewhere")
        receiver = Receiver(certificate)
        log = self.report(receiver, "exit", OTEL_EXPORTER_OTLP_CERTIFICATE=certificate)
        self.assertEqual(receiver.numbers, [])
        self.assertIn("10 in all", log)

    def test_certificates_that_cannot_be_read_leave_nothing_unchecked(self):
        receiver = Receiver(self.certificate)
        log = self.report(receiver, "exit", OTEL_EXPORTER_OTLP_CERTIFICATE="/does/not/exist")
        self.assertEqual(receiver.numbers, [])
        self.assertIn("10 in all", log)

    def test_a_process_that_has_torn_tls_down_loses_only_what_comes_later(self):
        receiver = Receiver(self.certificate)
        log = self.report(receiver, "late-after-openssl",
                          OTEL_EXPORTER_OTLP_CERTIFICATE=self.certificate)
        self.assertEqual(sorted(receiver.numbers), list(range(10)))
        self.assertIn("TLS has been shut down by the process", log)
        self.assertIn("10 in all", log)


if __name__ == "__main__":
    unittest.main()
