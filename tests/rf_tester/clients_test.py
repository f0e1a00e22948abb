# SPDX-License-Identifier: Apache-2.0
"""Clients that compete, misbehave or vanish: the RF test set stays up and small."""

import socket
import subprocess
import time

import pytest

from support.rf_tester import TESTER, Lines, Phone, RunningTester, connect

#: What a misbehaving client may cost.
MOST_GROWTH_KIB = 4096
#: Less than the longest wait of the test set for a burst.
PATIENCE_S = 20


@pytest.fixture
def tester():
    with RunningTester() as running:
        yield running


def client_when_free(tester):
    """A connection that is served; the one before may just be ending."""
    until = time.monotonic() + PATIENCE_S
    while time.monotonic() < until:
        client = Lines(tester.address)
        if client.ask("*TST?") == "0":
            return client
        client.close()
    pytest.fail("the test set stays in use")


def test_a_second_client_is_refused_until_the_first_leaves(tester):
    first = client_when_free(tester)
    first.send("POW:EXP 7")
    with Lines(tester.address) as second:
        here = first.socket.getsockname()
        assert second.ask("POW:EXP 9;EXP?") == f'-200,"Execution error;in use by {here[0]}:{here[1]}"'
        assert second.read() == ""
    assert first.ask("POW:EXP?") == "7"
    first.close()
    with client_when_free(tester) as second:
        assert second.ask("POW:EXP?") == "7", "settings outlive their client"


def test_a_message_without_its_end_is_dropped(tester):
    with client_when_free(tester) as client:
        client.send("POW:EXP 7")
        client.socket.sendall(b"POW:EXP 9")
    with client_when_free(tester) as client:
        assert client.ask("POW:EXP?;:SYST:ERR?") == '7;0,"No error"'


def test_what_was_asked_before_the_end_of_sending_is_answered(tester):
    with Lines(tester.address) as client:
        client.socket.sendall(b"*TST?\nTRIG:TIM 50MS;:MEAS:STAT?\n")
        client.socket.shutdown(socket.SHUT_WR)
        assert client.file.read() == "0\nTIM\n"


@pytest.mark.parametrize("unread", [[], ["*TST?"]], ids=["read", "unread"])
def test_a_client_that_left_while_it_waited_gives_way(tester, unread):
    with client_when_free(tester) as client:
        assert client.ask("*TST?\nTRIG:TIM 30;:INIT;*OPC?") == "0"
        for message in unread:
            client.send(message)
    with client_when_free(tester) as client:  # in less than the 30 s
        assert client.ask("TRIG:TIM 50MS;:INIT;*OPC?;:MEAS:STAT?") == "1;TIM", "the wait of the client before is over"


def a_megabyte_without_newline(address):
    with connect(address) as client:
        client.sendall(b"A" * 2**20)


def zeros(address):
    with connect(address) as client:
        client.sendall(b"\0" * 65536 + b"\n" + b"*TST?\0\n" * 1000)


def noise(address):
    with connect(address) as client:
        client.sendall(bytes(range(256)) * 4096)


def a_reset(address):
    client = connect(address)
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
    client.sendall(b"TRIG:TIM 100MS;:INIT;*OPC?\n*IDN?\n" * 10)
    client.close()


def never_reading(address):
    """Asks until the test set no longer takes anything."""
    client = connect(address)
    client.settimeout(0.5)
    try:
        for _ in range(2000):
            client.sendall(b"SOUR:WAV:CAT?\n" * 1000)
        pytest.fail("the test set takes questions without end")
    except TimeoutError:
        pass
    client.close()


def many_commands_in_one_message(address):
    with connect(address) as client:
        client.sendall(b";".join([b"*IDN?"] * 10000) + b"\n")


def a_hundred_connections(address):
    clients = [connect(address) for _ in range(100)]
    for client in clients:
        client.close()


ANY_END = (a_megabyte_without_newline, zeros, noise, a_hundred_connections)
SCPI_END = (a_reset, never_reading, many_commands_in_one_message)


@pytest.mark.parametrize("end, misbehave", [*(("address", one) for one in (*ANY_END, *SCPI_END)),
                                            *(("cable_address", one) for one in ANY_END)])
def test_misbehaviour_costs_nothing(tester, misbehave, end):
    with client_when_free(tester) as client:
        before = client.ask("POW:EXP 7;EXP?")
    memory = tester.memory_kib()
    for _ in range(3):
        misbehave(getattr(tester, end))
    with client_when_free(tester) as client:
        assert client.ask("POW:EXP?") == before
        client.send("*CLS")
        assert client.ask("SYST:ERR?") == '0,"No error"'
    assert tester.memory_kib() - memory < MOST_GROWTH_KIB


def test_answers_too_long_for_the_queue_are_an_error(tester):
    with client_when_free(tester) as client:
        client.send(";".join(["*IDN?"] * 10000))
        assert client.ask("SYST:ERR?") == '-430,"Query DEADLOCKED;the answers of one message are too long"'


def test_a_phone_that_never_asks_for_its_bursts_costs_little(tester):
    with Phone(tester.cable_address) as phone, client_when_free(tester) as client:
        phone.plug(1)
        client.send('SOUR:WAV "ht20_mcs7"')
        for _ in range(100):
            client.send(";".join([":SOUR:BURS:STAR"] * 100))
        assert client.ask("SYST:ERR?") == '0,"No error"'
        assert len(phone.receive()) == 256


MISUSES = [
    (["--port", "70000"], "--port"),
    (["--port", "x"], "--port"),
    (["--address", "nowhere"], "--address nowhere: give a numeric address"),
    (["--dialect", "c"], "--dialect"),
    (["--seed", "-1"], "--seed -1: give a whole number from 0 to 18446744073709551615"),
    (["--seed", "18446744073709551616"], "--seed 18446744073709551616: give a whole number"),
    (["--seed", "1.5"], "--seed 1.5: give a whole number"),
    (["--uncertainty", "-1"], "'-1' is no number from 0 to 20"),
    (["--uncertainty", "colour=1"], "'colour' is no quantity"),
    (["--uncertainty", "power=nan"], "'nan' is no number"),
    (["--cable-loss", "9=1"], "'9' is no number from 1 to 8"),
    (["--cable-loss", "1=0.5:1"], "'0.5' is no number from 1 to"),
    (["--cable-loss", "1=2412:1,2412:2"], "2412 MHz is given twice"),
    (["--cable-loss", "1=2412:1,2"], "give one loss, or MHZ:DB for each point"),
    (["--cable-loss", "-3"], "'-3' is no number from 0"),
    (["surplus"], "surplus"),
]


@pytest.mark.parametrize("arguments, message", MISUSES)
def test_misuse_is_named(arguments, message):
    done = subprocess.run([TESTER, "--port", "0", *arguments], capture_output=True, text=True, timeout=120)
    assert (done.returncode, done.stdout) == (2, "")
    assert message in done.stderr and "orva-rf-tester --help" in done.stderr


def test_a_taken_port_is_named(tester):
    port = tester.address.rsplit(":", 1)[1]
    done = subprocess.run([TESTER, "--port", port], capture_output=True, text=True, timeout=120)
    assert done.returncode == 1
    assert done.stderr == f"orva-rf-tester: cannot listen on 127.0.0.1 {port} (--port): Address already in use\n"


def test_ports_that_nobody_learns_end_it():
    with open("/dev/full", "w", encoding="utf-8") as full:
        command = [TESTER, "--port", "0", "--cable-port", "0"]
        done = subprocess.run(command, stdout=full, stderr=subprocess.PIPE, text=True, timeout=120, check=False)
    assert (done.returncode, done.stderr) == (1, "orva-rf-tester: the output cannot be written\n")
