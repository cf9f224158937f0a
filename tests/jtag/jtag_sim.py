# SPDX-License-Identifier: Apache-2.0
"""A simulated JTAG chain of catalogue devices behind a remote_bitbang server on 127.0.0.1.

Each device has a TAP state machine, an instruction register and the data registers that our
player files use: IDCODE, BYPASS, PROGRAM (configuration memory), STARTUP, CHECK_STATUS,
KEY_PROGRAM / KEY_VERIFY and LOADER_ACCESS (a serial flash behind the flash loader that obeys the
catalogue's flash commands: erase to 0xFF, program only 1 to 0, read back).

Usage: jtag_sim.py DATA_DIR STATE_FILE DEVICE[,DEVICE...] [FLASH_DEVICE]
Prints the port it listens on, serves one connection, then writes its state as JSON to STATE_FILE
(flash contents as hex).
"""
import hashlib
import json
import socket
import sys
import zlib

# TAP states and their successors for TMS 0 and 1.
RESET, IDLE, SEL_DR, CAP_DR, SH_DR, EX1_DR, PA_DR, EX2_DR, UP_DR, \
    SEL_IR, CAP_IR, SH_IR, EX1_IR, PA_IR, EX2_IR, UP_IR = range(16)
NEXT = {
    RESET: (IDLE, RESET), IDLE: (IDLE, SEL_DR), SEL_DR: (CAP_DR, SEL_IR), CAP_DR: (SH_DR, EX1_DR),
    SH_DR: (SH_DR, EX1_DR), EX1_DR: (PA_DR, UP_DR), PA_DR: (PA_DR, EX2_DR), EX2_DR: (SH_DR, UP_DR),
    UP_DR: (IDLE, SEL_DR), SEL_IR: (CAP_IR, RESET), CAP_IR: (SH_IR, EX1_IR), SH_IR: (SH_IR, EX1_IR),
    EX1_IR: (PA_IR, UP_IR), PA_IR: (PA_IR, EX2_IR), EX2_IR: (SH_IR, UP_IR), UP_IR: (IDLE, SEL_DR),
}
MAGIC = b"CVN\x1a"
LOADER_MARK = 0xA5  # first byte of every flash loader command
KEY_RECORD = 51     # bytes of the key register: kind, storage, length, 48 key bytes


def bits_of(data):
    for byte in data:
        for i in range(8):
            yield (byte >> i) & 1


def bytes_of(bits):
    out = bytearray((len(bits) + 7) // 8)
    for i, bit in enumerate(bits):
        out[i // 8] |= bit << (i % 8)
    return bytes(out)


def after_mark(bits, mark):
    """The bits after the first occurrence of the byte pattern `mark`; None when it is absent.
    Bits for other devices pass through a device before its own, so streams carry a mark."""
    pattern = list(bits_of(mark))
    for i in range(len(bits) - len(pattern) + 1):
        if bits[i:i + len(pattern)] == pattern:
            return bits[i + len(pattern):]
    return None


def container_ok(data):
    """Complete and intact: magic, declared size, and the file CRC over everything before it."""
    if len(data) < 36 or data[:4] != MAGIC:
        return False
    size = int.from_bytes(data[16:24], "little")
    return size == len(data) and zlib.crc32(data[:-4]) == int.from_bytes(data[-4:], "little")


class Register:
    """A shift register holding `bits`; an endless one gives them, then zeros, and keeps what comes in."""

    def __init__(self, bits, endless=False):
        self.bits, self.endless, self.at, self.shifted = list(bits), endless, 0, []

    def lsb(self):
        return self.bits[self.at] if self.at < len(self.bits) else 0

    def shift_many(self, bits):
        """Shifts a run of bits; returns the bits that come out."""
        if not self.endless:
            self.bits += bits
        out = self.bits[self.at:self.at + len(bits)]
        self.at += len(bits)
        self.shifted += bits
        return out + [0] * (len(bits) - len(out))

    def value(self):
        return self.bits[self.at:]


def word(value):
    return Register(bits_of(value.to_bytes(4, "little")))


def hex_id(value):
    return int(value, 16) if isinstance(value, str) else value


class Device:
    def __init__(self, record, flash=None):
        jtag = record["jtag"]
        self.name = record["name"]
        self.idcode = hex_id(jtag["idcode"])
        self.irlen = jtag["ir_length"]
        self.names = {hex_id(code): name for name, code in jtag["instructions"].items()}
        self.codes = {name: code for code, name in self.names.items()}
        self.config = bytearray()
        self.pending_bits = []
        self.synced = False
        self.user_mode = False
        self.keys = []
        self.mailbox = []
        self.flash = flash
        if flash:
            self.flash_data = bytearray(hex_id(flash["size"]))
            self.flash_ops = {hex_id(code): name for name, code in flash["commands"].items()}
            self.wel = False
            self.loader_out = b""
        self.reset()

    def reset(self):
        self.ir = self.codes["IDCODE"]
        self.reg = Register([0])

    def instruction(self):
        return self.names.get(self.ir, "UNKNOWN")

    def capture_ir(self):
        self.reg = Register([1, 0] + [0] * (self.irlen - 2))

    def update_ir(self):
        self.ir = sum(bit << i for i, bit in enumerate(self.reg.value()))
        name = self.instruction()
        if name == "PROGRAM":
            self.config = bytearray()
            self.pending_bits = []
            self.synced = False
            self.user_mode = False
        elif name == "STARTUP" and container_ok(self.config):
            self.user_mode = True
        return name

    def capture_dr(self):
        name = self.instruction()
        if name == "IDCODE":
            self.reg = word(self.idcode)
        elif name == "CHECK_STATUS":
            self.reg = word(container_ok(self.config) | 2 * self.user_mode)
        elif name == "KEY_VERIFY":
            self.reg = Register(bits_of(self.keys[-1] if self.keys else bytes(KEY_RECORD)))
        elif name == "KEY_PROGRAM":
            self.reg = Register([0] * (8 * KEY_RECORD))
        elif name == "LOADER_ACCESS" and self.flash and self.user_mode:
            self.reg = Register(bits_of(self.loader_out), endless=True)
            self.loader_out = b""
        elif name in ("PROGRAM", "LOADER_ACCESS", "SDM_MAILBOX"):
            self.reg = Register([], endless=True)
        else:
            self.reg = Register([0])

    def update_dr(self):
        name = self.instruction()
        bits = self.reg.shifted
        if name == "PROGRAM":
            # The configuration logic synchronises on the container's magic.
            self.pending_bits += bits
            if not self.synced:
                found = after_mark(self.pending_bits, MAGIC)
                if found is None:
                    return name, "no sync"
                self.pending_bits = list(bits_of(MAGIC)) + found
                self.synced = True
            whole = len(self.pending_bits) // 8 * 8
            self.config += bytes_of(self.pending_bits[:whole])
            self.pending_bits = self.pending_bits[whole:]
        elif name == "KEY_PROGRAM":
            self.keys.append(bytes_of(self.reg.value()))
        elif name in ("SDM_MAILBOX", "LOADER_ACCESS") and self.user_mode:
            message = after_mark(bits, bytes([LOADER_MARK]))
            data = bytes_of(message[: len(message) // 8 * 8]) if message is not None else None
            if data is not None and name == "SDM_MAILBOX":
                self.mailbox.append(data[4:4 + int.from_bytes(data[:4], "little")].hex())
            elif data and self.flash:
                self.flash_command(data)
        return name, hashlib.sha1(bytes_of(bits) + len(bits).to_bytes(8, "little")).hexdigest()

    def flash_command(self, data):
        op = self.flash_ops.get(data[0])
        n = self.flash["address_bytes"]
        address = int.from_bytes(data[1:1 + n], "big")
        payload = data[1 + n:]
        if op == "READ_ID":
            self.loader_out = hex_id(self.flash["silicon_id"]).to_bytes(3, "little")
        elif op == "READ_STATUS":
            self.loader_out = bytes([2 if self.wel else 0])
        elif op == "WRITE_ENABLE":
            self.wel = True
        elif op == "READ":
            self.loader_out = bytes(self.flash_data[address:address + 65536])
        elif op == "SECTOR_ERASE" and self.wel:
            sector = hex_id(self.flash["sector_size"])
            start = address // sector * sector
            self.flash_data[start:start + sector] = b"\xff" * sector
            self.wel = False
        elif op == "PAGE_PROGRAM" and self.wel:
            page = self.flash["page_size"]
            base = address // page * page
            for i, byte in enumerate(payload):
                self.flash_data[base + (address + i) % page] &= byte
            self.wel = False


class Chain:
    """Devices from TDI to TDO."""

    def __init__(self, devices):
        self.devices = devices
        self.state = RESET
        self.log = []
        self.tck = 0

    def tdo(self):
        if self.state in (SH_DR, SH_IR):
            return self.devices[-1].reg.lsb()
        return 0

    def clock(self, tms, tdi):
        if self.state in (SH_DR, SH_IR):
            bit = tdi
            for device in self.devices:
                bit = device.reg.shift_many([bit])[0]
        self.state = NEXT[self.state][tms]
        if self.state == RESET:
            for device in self.devices:
                device.reset()
            self.log = []
        elif self.state in (CAP_IR, CAP_DR):
            for device in self.devices:
                (device.capture_ir if self.state == CAP_IR else device.capture_dr)()
        elif self.state == UP_IR:
            self.log.append(["IR"] + [device.update_ir() for device in self.devices])
        elif self.state == UP_DR:
            self.log.append(["DR"] + [list(device.update_dr()) for device in self.devices])

    def bitbang(self, data):
        """Handles remote_bitbang characters; returns the bytes to send back."""
        reply = bytearray()
        i, end = 0, len(data)
        while i < end:
            c = data[i]
            # Fast path: a run of clocks in Shift-DR with TMS low and no TDO read.
            if self.state == SH_DR and c in (0x30, 0x31) and i + 1 < end and data[i + 1] == c + 4:
                j, bits = i, []
                while j + 1 < end and data[j] in (0x30, 0x31) and data[j + 1] == data[j] + 4:
                    bits.append(data[j] & 1)
                    j += 2
                for device in self.devices:
                    bits = device.reg.shift_many(bits)
                self.tck = 1
                i = j
                continue
            i += 1
            if 0x30 <= c <= 0x37:
                value = c - 0x30
                tck = value >> 2
                if tck and not self.tck:
                    self.clock((value >> 1) & 1, value & 1)
                self.tck = tck
            elif c == 0x52:  # 'R'
                reply.append(0x31 if self.tdo() else 0x30)
        return bytes(reply)

    def state_json(self):
        out = {"log": self.log, "devices": []}
        for device in self.devices:
            entry = {"name": device.name, "config": device.config.hex(), "user_mode": device.user_mode,
                     "keys": [[key[0], key[1], key[3:3 + key[2]].hex()] for key in device.keys],
                     "mailbox": device.mailbox}
            if device.flash:
                entry["flash"] = device.flash_data.hex()
            out["devices"].append(entry)
        return out


def load_chain(data_dir, names, flash_name=None):
    with open(f"{data_dir}/data/devices.json") as f:
        devices = {d["name"]: d for d in json.load(f)["devices"]}
    with open(f"{data_dir}/data/flash_devices.json") as f:
        flashes = {d["name"]: d for d in json.load(f)["flash_devices"]}
    flash = flashes[flash_name] if flash_name else None
    return Chain([Device(devices[name], flash if devices[name].get("flash_loader") else None) for name in names])


def serve(chain, listener):
    connection, _ = listener.accept()
    pending, finished = bytearray(), False
    with connection:
        while pending or not finished:
            # OpenOCD writes to a non-blocking socket and gives up when it is full: read all that
            # has arrived (waiting only when there is nothing to do), then work through a bounded
            # piece, so that the socket is drained again soon however much arrived at once.
            connection.setblocking(not pending)
            try:
                while not finished:
                    more = connection.recv(1 << 16)
                    finished = not more
                    pending += more
                    connection.setblocking(False)
            except BlockingIOError:
                pass
            piece = bytes(pending[:1 << 16])
            del pending[:1 << 16]
            reply = chain.bitbang(piece)
            if reply:
                connection.setblocking(True)
                connection.sendall(reply)
            if b"Q" in piece:
                break


def main():
    data_dir, state_file, names = sys.argv[1], sys.argv[2], sys.argv[3].split(",")
    chain = load_chain(data_dir, names, sys.argv[4] if len(sys.argv) > 4 else None)
    listener = socket.socket()
    listener.bind(("127.0.0.1", 0))
    listener.listen(1)
    print(listener.getsockname()[1], flush=True)
    serve(chain, listener)
    with open(state_file, "w") as f:
        json.dump(chain.state_json(), f)


if __name__ == "__main__":
    main()
