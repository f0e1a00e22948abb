# SPDX-License-Identifier: Apache-2.0
"""Runs the RF test set as a program, with a plain client and a stand-in for a phone on a cable."""

import json
import os
import socket
import struct
import subprocess
import threading

from support.tree import ROOT

TESTER = os.environ["ORVA_RF_TESTER"]
PROFILES = ROOT / "rf_tester" / "profiles"
DIALECTS = ["a", "b"]
ENDING_S = 60


def profile(dialect):
    return PROFILES / f"orva-{dialect}.toml"


class RunningTester:
    """orva-rf-tester on free ports. Leaving it fails the test if the program crashed or did not end by itself."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([TESTER, "--port", "0", "--cable-port", "0", *map(str, arguments)],
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        try:
            self.address, self.cable_address = (self.process.stdout.readline().split(",")[0].split()[-1] for _ in range(2))
        except IndexError:
            raise AssertionError(f"the test set did not start: {self.process.communicate()[1]}") from None

    def memory_kib(self):
        with open(f"/proc/{self.process.pid}/status") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS"))

    def __enter__(self):
        return self

    def __exit__(self, kind, error, trace):
        self.process.terminate()
        try:
            _, printed = self.process.communicate(timeout=ENDING_S)
        except subprocess.TimeoutExpired:
            self.process.kill()
            raise
        if kind is None:
            assert (self.process.returncode, printed) == (0, "")


def connect(address):
    host, port = address.rsplit(":", 1)
    return socket.create_connection((host, int(port)), timeout=120)


class Lines:
    """A connection that exchanges lines."""

    def __init__(self, address):
        self.socket = connect(address)
        self.file = self.socket.makefile("r", newline="\n")

    def send(self, text):
        self.socket.sendall(text.encode() + b"\n")

    def read(self):
        return self.file.readline().rstrip("\n")

    def ask(self, text):
        self.send(text)
        return self.read()

    def close(self):
        self.file.close()
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, kind, error, trace):
        self.close()


class Phone(Lines):
    """The phone's end of a cable."""

    def exchange(self, message):
        return json.loads(self.ask(json.dumps(message)))

    def plug(self, port, name="unit"):
        return self.exchange({"plug": {"port": port, "name": name}})

    def emit(self, *chains, **changed):
        """Transmits; a chain is its power, or its power and EVM."""
        pairs = [chain if isinstance(chain, tuple) else (chain, -31.0) for chain in chains]
        emission = {"mhz": 2442, "bandwidth_mhz": 20, "format": "ht", "rate": "mcs7", "frequency_error_ppm": 1.25,
                    "leakage_dbc": -31.0, "mask_margin_db": 4.0,
                    "chains": [{"chain": i, "power_dbm": power, "evm_db": evm} for i, (power, evm) in enumerate(pairs)],
                    **changed}
        return self.exchange({"emission": emission, "receiving": None})

    def receive(self, mhz=2442):
        """Stops transmitting and returns the bursts that came since the last message."""
        return self.exchange({"emission": None, "receiving": {"mhz": mhz, "bandwidth_mhz": 20}})["bursts"]


def scripted_server(answer_to, got=None):
    """The address of a server for one client. answer_to gives the answer to a line; None is none, b"" cuts the connection.
    The lines go into the list got, and None when the client has left."""
    listening = socket.create_server(("127.0.0.1", 0))

    def serve():
        client, _ = listening.accept()
        with client, listening, client.makefile("rb") as lines:
            for line in lines:
                got.append(line.decode().rstrip("\n"))
                answer = answer_to(got[-1])
                if answer == b"":  # with a reset: PyVISA-py takes an orderly end for silence
                    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                    return
                client.sendall(answer or b"")
            got.append(None)

    got = [] if got is None else got
    threading.Thread(target=serve, daemon=True).start()
    return "127.0.0.1:%d" % listening.getsockname()[1]


def answering_server(answer):
    """The address of a server that answers each line with the same, or not at all."""
    return scripted_server(lambda line: answer or None)


_reserved = []


def unused_address():
    """An address where nobody listens, nor will: the port stays taken."""
    _reserved.append(socket.socket())
    _reserved[-1].bind(("127.0.0.1", 0))
    return "127.0.0.1:%d" % _reserved[-1].getsockname()[1]
