# SPDX-License-Identifier: Apache-2.0
"""Our STAPL player for tests: runs a .jam (STAPL text) or .jbc (our byte-code) against a
remote_bitbang server on 127.0.0.1.

Usage: stapl_player.py FILE PORT
Exit status: the program's EXIT code (0 success), 2 for a file it cannot read.
"""
import re
import socket
import sys
import time
import zlib

class PlayerError(Exception):
    pass


def decompress(stream):
    size = int.from_bytes(stream[:4], "little")
    out = bytearray()
    at = 4
    while at < len(stream):
        control = stream[at]
        at += 1
        if control < 0x80:
            out += stream[at:at + control + 1]
            at += control + 1
        else:
            distance = stream[at] | stream[at + 1] << 8
            at += 2
            if distance == 0 or distance > len(out):
                raise PlayerError("compressed data refers before its start")
            for _ in range((control & 0x7F) + 3):
                out.append(out[-distance])
    if len(out) != size:
        raise PlayerError(f"compressed data gives {len(out)} bytes, not {size}")
    return bytes(out)


def literal(text, bits):
    """A STAPL value: $hex (last digit holds bits 0..3; white space between digits), as an int."""
    if not text.startswith("$"):
        raise PlayerError(f"unsupported value {text[:20]}")
    value = int(re.sub(r"\s", "", text[1:]), 16)
    if value >> bits:
        raise PlayerError("value wider than its scan")
    return value


def crc16(data):
    crc = 0xFFFF
    for byte in data:
        crc ^= byte << 8
        for _ in range(8):
            crc = ((crc << 1) ^ 0x1021 if crc & 0x8000 else crc << 1) & 0xFFFF
    return crc


def parse_jam(text):
    """Steps of a STAPL text file: (op, ...) tuples; the procedure the action names runs."""
    crc_at = text.rfind("\nCRC ")
    if crc_at < 0:
        raise PlayerError("no CRC statement")
    declared = int(text[crc_at + 5:crc_at + 9], 16)
    if crc16(text[:crc_at + 1].encode()) != declared:
        raise PlayerError("CRC mismatch")
    code = "\n".join(re.sub(r"'.*$", "", line) if '"' not in line else line for line in text.splitlines())
    arrays, procedures, action, current = {}, {}, None, None

    def value(token, bits):
        return arrays[token] if token in arrays else literal(token, bits)

    for statement in (s.strip() for s in code.split(";")):
        words = statement.split()
        if not words:
            continue
        head = words[0]
        if head in ("NOTE", "DATA", "ENDDATA", "CRC"):
            continue
        if m := re.fullmatch(r"ACTION (\w+) = (\w+)", statement):
            action = m.group(2)
        elif m := re.fullmatch(r"PROCEDURE (\w+)(?: USES \w+)?", statement):
            current = procedures.setdefault(m.group(1), [])
        elif head == "ENDPROC":
            current = None
        elif m := re.fullmatch(r"BOOLEAN (\w+)\[(\d+)\] = (.+)", statement, re.S):
            arrays[m.group(1)] = literal(m.group(3), int(m.group(2)))
        elif re.fullmatch(r"BOOLEAN \w+", statement):
            pass
        elif current is None:
            raise PlayerError(f"statement outside a procedure: {statement[:40]}")
        elif m := re.fullmatch(r"STATE (RESET|IDLE)", statement):
            current.append((m.group(1),))
        elif m := re.fullmatch(r"(PREIR|POSTIR|PREDR|POSTDR) (\d+)", statement):
            current.append(("PAD", m.group(1), int(m.group(2))))
        elif m := re.fullmatch(r"IRSCAN (\d+), (\S+)", statement):
            current.append(("IR", int(m.group(1)), literal(m.group(2), int(m.group(1)))))
        elif m := re.fullmatch(r"DRSCAN (\d+), (\w+|\$[0-9A-F]+)(?:, COMPARE (\S+), (\S+), (\w+))?", statement):
            n = int(m.group(1))
            check = (value(m.group(3), n), value(m.group(4), n), m.group(5)) if m.group(3) else None
            current.append(("DR", n, value(m.group(2), n), check))
        elif m := re.fullmatch(r"IF !(\w+) THEN EXIT (\d+)", statement):
            current.append(("IFNOT", m.group(1), int(m.group(2))))
        elif m := re.fullmatch(r"WAIT IDLE, (\d+) CYCLES, (\d+) USEC, IDLE", statement):
            current.append(("WAIT", int(m.group(1)), int(m.group(2))))
        elif m := re.fullmatch(r"EXIT (\d+)", statement):
            current.append(("EXIT", int(m.group(1))))
        else:
            raise PlayerError(f"unsupported statement: {statement[:60]}")
    if action not in procedures:
        raise PlayerError("no action or its procedure is missing")
    return procedures[action]


class Reader:
    def __init__(self, data):
        self.data, self.at = data, 0

    def take(self, n):
        if self.at + n > len(self.data):
            raise PlayerError("byte-code ends early")
        self.at += n
        return self.data[self.at - n:self.at]

    def u(self, n):
        return int.from_bytes(self.take(n), "little")

    def text(self):
        return self.take(self.u(2)).decode()

    def block(self, bits):
        data = decompress(self.take(self.u(4)))
        if len(data) != (bits + 7) // 8:
            raise PlayerError("scan data of the wrong length")
        return int.from_bytes(data, "little")


PAD_NAMES = ("PREIR", "POSTIR", "PREDR", "POSTDR")


def parse_jbc(data):
    if data[:4] != b"CVJB" or zlib.crc32(data[:-4]) != int.from_bytes(data[-4:], "little"):
        raise PlayerError("not an intact byte-code file")
    r = Reader(data[:-4])
    r.take(4)
    if r.u(2) != 1 or r.u(2) != 0:
        raise PlayerError("unsupported byte-code version")
    for _ in range(r.u(4)):
        r.text(), r.text()
    steps = []
    for _ in range(r.u(4)):
        op = r.u(1)
        if op == 1:
            r.text()
        elif op in (2, 3):
            steps.append(("RESET" if op == 2 else "IDLE",))
        elif op == 4:
            steps += [("PAD", name, r.u(4)) for name in PAD_NAMES]
        elif op == 5:
            steps.append(("IR", r.u(1), r.u(4)))
        elif op == 6:
            n, checked = r.u(8), r.u(1)
            tdi = r.block(n)
            check = (r.block(n), r.block(n), "OK") if checked else None
            steps.append(("DR", n, tdi, check))
            if checked:
                steps.append(("IFNOT", "OK", 1))
        elif op == 7:
            steps.append(("WAIT", r.u(4), r.u(4)))
        else:
            raise PlayerError(f"unknown op code {op}")
    if r.at != len(r.data):
        raise PlayerError("bytes after the last step")
    return steps + [("EXIT", 0)]


class Bitbang:
    """remote_bitbang client; every scan starts and ends in Run-Test/Idle."""

    def __init__(self, port):
        self.sock = socket.create_connection(("127.0.0.1", port))

    def run(self, moves):
        """moves: (tms, tdi, read) triples; returns the bits read, first one lowest, as an int."""
        out = b"".join(b"%c%s%c" % (0x30 + 2 * tms + tdi, b"R" if read else b"", 0x34 + 2 * tms + tdi)
                       for tms, tdi, read in moves)
        self.sock.sendall(out)
        reads, got = out.count(b"R"), b""
        while len(got) < reads:
            more = self.sock.recv(reads - len(got))
            if not more:
                raise PlayerError("simulator closed the connection")
            got += more
        return int(got[::-1] or b"0", 2)

    def scan(self, ir, value, n, read=False):
        tdi = [(value >> i) & 1 for i in range(n)]
        shift = [(int(i == n - 1), bit, read) for i, bit in enumerate(tdi)]
        return self.run([(1, 0, False)] * (2 if ir else 1) + [(0, 0, False)] * 2 + shift + [(1, 0, False), (0, 0, False)])

    def close(self):
        self.sock.sendall(b"Q")
        self.sock.close()


def execute(steps, jtag):
    pad = dict.fromkeys(PAD_NAMES, 0)
    flags = {}
    for step in steps:
        op = step[0]
        if op == "RESET":
            jtag.run([(1, 0, False)] * 5)
        elif op == "IDLE":
            jtag.run([(0, 0, False)])
        elif op == "PAD":
            pad[step[1]] = step[2]
        elif op == "IR":
            pre, post, n = pad["PREIR"], pad["POSTIR"], step[1]
            full = (1 << pre) - 1 | step[2] << pre | ((1 << post) - 1) << (pre + n)
            jtag.scan(True, full, pre + n + post)
        elif op == "DR":
            pre, post, n = pad["PREDR"], pad["POSTDR"], step[1]
            out = jtag.scan(False, step[2] << pre, pre + n + post, read=step[3] is not None) >> pre
            if step[3]:
                expected, mask, name = step[3]
                flags[name] = (out ^ expected) & mask & ((1 << n) - 1) == 0
        elif op == "IFNOT":
            if not flags.get(step[1], False):
                return step[2]
        elif op == "WAIT":
            jtag.run([(0, 0, False)] * step[1])
            time.sleep(step[2] / 1e6)
        elif op == "EXIT":
            return step[1]
    return 0


def main():
    path, port = sys.argv[1], int(sys.argv[2])
    try:
        with open(path, "rb") as f:
            data = f.read()
        steps = parse_jbc(data) if path.endswith(".jbc") else parse_jam(data.decode())
    except (PlayerError, UnicodeDecodeError, OSError) as e:
        print(f"stapl_player: {path}: {e}", file=sys.stderr)
        return 2
    jtag = Bitbang(port)
    try:
        code = execute(steps, jtag)
    finally:
        jtag.close()
    if code:
        print(f"stapl_player: {path}: EXIT {code}", file=sys.stderr)
    return code


if __name__ == "__main__":
    sys.exit(main())
