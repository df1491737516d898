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
    """Records the numbers of the events that arrive, and counts the attempts to connect."""

    def __init__(self, certificate, clients=None):
        super().__init__(("127.0.0.1", 0), Handler)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate)
        if clients:
            context.verify_mode = ssl.CERT_REQUIRED
            context.load_verify_locations(clients)
        self.socket = context.wrap_socket(self.socket, server_side=True)
        self.numbers = []
        self.connections = 0
        self.url = f"https://127.0.0.1:{self.server_port}"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def get_request(self):
        self.connections += 1
        return super().get_request()

    def handle_error(self, request, client_address):
        pass  # Some handshakes must fail.


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        body = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        for record in body["resourceLogs"][0]["scopeLogs"][0]["logRecords"]:
            values = {a["key"]: a["value"] for a in record["attributes"]}
            if "number" in values:
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
        cls.client = cls.make_certificate("client.pem", "DNS:client")
        cls.stranger = cls.make_certificate("stranger.pem", "DNS:stranger")

    @classmethod
    def make_certificate(cls, name, subject):
        """Makes a file with key and certificate, and one for each of them."""
        path = os.path.join(cls.directory.name, name)
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", f"/CN={name}",
             "-addext", f"subjectAltName={subject}", "-keyout", path + ".key",
             "-out", path + ".crt"],
            check=True, stderr=subprocess.DEVNULL)
        with open(path, "w") as both, open(path + ".key") as key, open(path + ".crt") as certificate:
            both.write(key.read() + certificate.read())
        return path

    def report(self, receiver, way, **variables):
        environment = {k: v for k, v in os.environ.items() if not k.lower().endswith("_proxy")}
        environment.update(variables, OTEL_EXPORTER_OTLP_ENDPOINT=receiver.url,
                           OTEL_EXPORTER_OTLP_PROTOCOL="http/json")
        result = subprocess.run([REPORTER, way, "10"], env=environment, text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stderr

    def test_a_trusted_receiver_gets_everything_even_after_exit_handlers(self):
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

    def report_to_receiver_that_asks(self, **variables):
        """Reports to a receiver that requires a certificate. Returns the receiver and the log."""
        receiver = Receiver(self.certificate, clients=self.client)
        log = self.report(receiver, "exit", OTEL_EXPORTER_OTLP_CERTIFICATE=self.certificate,
                          **variables)
        return receiver, log

    def test_a_receiver_that_asks_for_a_certificate_is_shown_one(self):
        receiver, log = self.report_to_receiver_that_asks(
            OTEL_EXPORTER_OTLP_CLIENT_CERTIFICATE=self.client + ".crt",
            OTEL_EXPORTER_OTLP_CLIENT_KEY=self.client + ".key")
        self.assertEqual(sorted(receiver.numbers), list(range(10)))
        self.assertEqual(log, "")

    def test_a_certificate_may_have_its_key_in_the_same_file(self):
        receiver, _ = self.report_to_receiver_that_asks(
            OTEL_EXPORTER_OTLP_CLIENT_CERTIFICATE=self.client)
        self.assertEqual(sorted(receiver.numbers), list(range(10)))

    def test_a_receiver_that_asks_for_a_certificate_takes_nothing_without(self):
        receiver, log = self.report_to_receiver_that_asks()
        self.assertEqual(receiver.numbers, [])
        self.assertIn("10 in all", log)

    def test_a_receiver_that_asks_for_a_certificate_takes_nothing_from_a_stranger(self):
        receiver, log = self.report_to_receiver_that_asks(
            OTEL_EXPORTER_OTLP_CLIENT_CERTIFICATE=self.stranger)
        self.assertEqual(receiver.numbers, [])
        self.assertIn("10 in all", log)

    def test_a_key_that_is_not_the_certificate_s_is_not_tried_again(self):
        receiver, log = self.report_to_receiver_that_asks(
            OTEL_EXPORTER_OTLP_CLIENT_CERTIFICATE=self.client + ".crt",
            OTEL_EXPORTER_OTLP_CLIENT_KEY=self.stranger + ".key")
        self.assertEqual(receiver.numbers, [])
        self.assertLess(receiver.connections, 2)
        self.assertIn("Problem with the local SSL certificate", log)
        self.assertIn("10 in all", log)

    def test_a_process_that_has_shut_tls_down_loses_only_later_events(self):
        receiver = Receiver(self.certificate)
        log = self.report(receiver, "late-after-openssl",
                          OTEL_EXPORTER_OTLP_CERTIFICATE=self.certificate)
        self.assertEqual(sorted(receiver.numbers), list(range(10)))
        self.assertIn("TLS has been shut down by the process", log)
        self.assertIn("10 in all", log)


if __name__ == "__main__":
    unittest.main()
