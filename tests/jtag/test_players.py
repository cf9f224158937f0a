# SPDX-License-Identifier: Apache-2.0
"""Player files proven by players: each case's .svf runs in OpenOCD, its .jam and .jbc in our STAPL
player, all against the simulated chain; the simulator must end up holding the source's bytes and
the three runs must shift the same scans.

Usage: test_players.py CORVANE_EXE SOURCE_DIR   (exit 77: OpenOCD is not installed)
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))
CORVANE, SOURCE = sys.argv[1], sys.argv[2]
DEVICES = {d["name"]: d for d in json.load(open(f"{SOURCE}/data/devices.json"))["devices"]}
FLASH = {d["name"]: d for d in json.load(open(f"{SOURCE}/data/flash_devices.json"))["flash_devices"]}


# ---- Inputs written by this script's own container writer (docs/formats.md) -------------------

def u(value, n):
    return value.to_bytes(n, "little")


def s(text):
    return u(len(text), 2) + text.encode()


def container(kind, sections):
    align = lambda n: (n + 7) // 8 * 8
    at = align(32 + 24 * len(sections))
    table, body = b"", b""
    for tag, data in sections:
        table += tag.encode() + u(zlib.crc32(data), 4) + u(at, 8) + u(len(data), 8)
        body += b"\0" * (at - 32 - 24 * len(sections) - len(body)) + data
        at = align(at + len(data))
    size = at + 4
    image = b"CVN\x1a" + kind.encode() + u(1, 2) + u(32, 2) + u(len(sections), 4) + u(size, 8) + u(0, 8)
    image += table + body
    image += b"\0" * (at - len(image))
    return image + u(zlib.crc32(image), 4)


def section(image, tag):
    """The first section `tag` of a container."""
    entries = (image[32 + 24 * i:56 + 24 * i] for i in range(int.from_bytes(image[12:16], "little")))
    at, n = next((int.from_bytes(e[8:16], "little"), int.from_bytes(e[16:24], "little")) for e in entries if e[:4] == tag)
    return image[at:at + n]


def idcode(name):
    return int(DEVICES[name]["jtag"]["idcode"], 16)


def run(*command, expect=0):
    """Runs a command; unless `expect` is None, its exit status must be `expect`."""
    result = subprocess.run(command, capture_output=True, text=True, timeout=600)
    if expect is not None and result.returncode != expect:
        raise AssertionError(f"{command} exited {result.returncode}:\n{result.stdout}{result.stderr}")
    return result


def write(path, data):
    with open(path, "wb" if isinstance(data, bytes) else "w") as f:
        f.write(data)


def make_sof(path, device, size, seed):
    run(CORVANE, "--make-sof", "--device", device, "--size", str(size), "--seed", str(seed), path)
    return section(open(path, "rb").read(), b"CDAT")


def make_ekp(path, device, keys):
    body = [("EKPH", s(device) + u(len(keys), 4))]
    body += [("KEY ", u(kind, 2) + u(storage, 2) + s(key_id) + key) for kind, storage, key_id, key in keys]
    write(path, container("EKP ", body))


def make_jic(path, device, flash, flash_size, loader, option_bits, blocks):
    head = s(flash) + u(flash_size, 8) + s(device) + u(idcode(device), 4) + u(0, 4) + u(0, 4)
    body = [("FLSH", head), ("OPTB", u(option_bits[0], 8) + option_bits[1]),
            ("PAGE", u(1, 4) + s("Page_0") + u(0, 8) + u(0xFFFF, 8))]
    body += [("FBLK", u(address, 8) + data) for address, data in blocks]
    body.append(("FLDR", s(device) + loader))
    write(path, container("JIC ", body))


# ---- Players against the simulator -------------------------------------------------------------

def simulate(work, devices, flash, player):
    """Starts the simulator, runs `player(port)`; returns (player result, simulator state)."""
    state_file = os.path.join(work, "state.json")
    command = [sys.executable, f"{HERE}/jtag_sim.py", SOURCE, state_file, ",".join(devices)] + ([flash] if flash else [])
    sim = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
    try:
        port = int(sim.stdout.readline())
        result = player(port)
        sim.wait(timeout=60)
    finally:
        if sim.poll() is None:
            sim.kill()
            sim.wait()
    return result, json.load(open(state_file))


def openocd(work, devices, svf):
    def play(port):
        cfg = os.path.join(work, "play.cfg")
        with open(cfg, "w") as f:
            f.write(f"adapter driver remote_bitbang\nremote_bitbang host 127.0.0.1\nremote_bitbang port {port}\n"
                    "transport select jtag\ngdb_port disabled\ntelnet_port disabled\ntcl_port disabled\n")
            # OpenOCD declares the chain from TDO to TDI.
            for i, name in reversed(list(enumerate(devices))):
                irlen = DEVICES[name]["jtag"]["ir_length"]
                f.write(f"jtag newtap d{i} tap -irlen {irlen} -ircapture 0x1 -irmask 0x3 "
                        f"-expected-id {idcode(name):#x}\n")
        result = run("openocd", "-f", cfg, "-c", "init", "-c", f"svf {svf} quiet", "-c", "shutdown", expect=None)
        log = result.stdout + result.stderr
        failed = [line for line in log.splitlines() if line.startswith("Error:") and "adapter speed" not in line]
        ok = result.returncode == 0 and "svf file programmed successfully" in log and not failed
        return ok, log
    return play


def stapl(path):
    def play(port):
        result = run(sys.executable, f"{HERE}/stapl_player.py", path, str(port), expect=None)
        return result.returncode == 0, result.stderr
    return play


# ---- Cases ------------------------------------------------------------------------------------

def check_state(case, state, expected):
    for index, what, value in expected:
        got = state["devices"][index][what]
        if what == "flash":
            start, value = value
            got = got[2 * start:2 * (start + len(value))]
        if what in ("config", "flash"):
            got = bytes.fromhex(got)
        if got != value:
            raise AssertionError(f"{case}: device {index} {what} differs from the source")


def main():
    if not shutil.which("openocd"):
        print("SKIP: openocd is not installed (scripts/bootstrap.sh installs it)")
        return 77
    work = tempfile.mkdtemp(prefix="corvane-jtag-")
    os.chdir(work)  # every file of the run is named relative to it
    try:
        fpga = "7TR440PA3R1"
        config = make_sof("a.sof", fpga, 3000, 7)
        loader = make_sof("loader.sof", fpga, 700, 9)
        key = bytes(range(32))
        owner_hash = bytes(range(100, 148))
        make_ekp("k.ekp", fpga, [(1, 1, "aes", key), (2, 2, "owner", owner_hash)])
        fuses = bytes(range(7, 71))
        write("k.fuse", fuses)
        # Flash content: option bits, a block across a page boundary, a block in the second sector.
        blocks = [(0x100, bytes((i * 7 + 3) & 0xFF for i in range(600))),
                  (0x10010, bytes((i * 13) & 0xFF for i in range(300)))]
        make_jic("f.jic", fpga, "VQ64A", 8 << 20, loader, (0x80, b"\x5a\x00\xa5"), blocks)
        flash_image = bytearray(b"\xff" * 0x20000)
        for address, data in [(0x80, b"\x5a\x00\xa5")] + blocks:
            flash_image[address:address + len(data)] = data

        # name, chain (device, file, actions), flash device, expected (device index, field, value)
        cases = [
            ("config", [(fpga, "a.sof", "program,verify")], None, [(0, "config", config), (0, "user_mode", True)]),
            ("chain", [("9RX027R1B", None, None), (fpga, "a.sof", "program,verify")], None,
             [(1, "config", config), (0, "config", b"")]),
            ("key", [(fpga, "k.ekp", "program,verify"), ("6DS250M2", None, None)], None,
             [(0, "keys", [[1, 1, key.hex()], [2, 2, owner_hash.hex()]])]),
            ("helper", [(fpga, "k.fuse", "program")], None, [(0, "user_mode", True), (0, "mailbox", [fuses.hex()])]),
            ("jic", [(fpga, "f.jic", "program,verify,blank-check")], "VQ64A",
             [(0, "config", loader), (0, "flash", (0, bytes(flash_image)))]),
        ]
        for name, chain, flash, expected in cases:
            write(name + ".cdf", "corvane-cdf 1\n" + "".join(
                f"device {device}" + (f" file {file} actions {actions}" if file else "") + "\n"
                for device, file, actions in chain))
            devices = [device for device, _, _ in chain]
            logs = []
            for extension in ("svf", "jam", "jbc"):
                out = f"{name}.{extension}"
                run(CORVANE, "--make-player", "--frequency", "100KHz", name + ".cdf", out)
                if flash and extension == "jam":  # each erase and page waits the catalogue's time
                    for key in ("sector_erase_us", "page_program_us"):
                        if f"WAIT IDLE, 0 CYCLES, {FLASH[flash][key]} USEC, IDLE;" not in open(out).read():
                            raise AssertionError(f"{name}.jam does not wait the flash's {key}")
                player = openocd(work, devices, out) if extension == "svf" else stapl(out)
                (ok, log), state = simulate(work, devices, flash, player)
                if not ok:
                    raise AssertionError(f"{out} failed:\n{log[-3000:]}")
                check_state(out, state, expected)
                logs.append(state["log"])
            if not logs[0] or logs[1] != logs[0] or logs[2] != logs[0]:
                raise AssertionError(f"{name}: the .jam or .jbc shifts other scans than the .svf")
            print(f"ok {name}")

        # Generation from a setup document: the conversion's chain with the document's SVF options.
        write("gen.zeb", '<zeb version="1"><settings mode="AVSTX8"/><bitstreams><bitstream id="Bitstream_1">'
              '<path>a.sof</path></bitstream></bitstreams><output_files><output_file name="gen" directory="." '
              'type="SVF"><file_options frequency="100KHz" operation="P"/><bitstream_id>Bitstream_1</bitstream_id>'
              '</output_file></output_files></zeb>\n')
        run(CORVANE, "gen.zeb")
        # One bit of the configuration data flipped: the device's status check must fail in OpenOCD.
        svf = open("config.svf").read()
        at = svf.index("TDI(", svf.index("SDR", svf.index("under PROGRAM"))) + 20
        write("bad.svf", svf[:at] + "%X" % (int(svf[at], 16) ^ 1) + svf[at + 1:])
        for svf, good in [("gen.svf", True), ("bad.svf", False)]:
            (ok, log), state = simulate(work, [fpga], None, openocd(work, [fpga], svf))
            if ok != good:
                raise AssertionError(f"OpenOCD {'failed on' if good else 'accepted'} {svf}:\n{log[-3000:]}")
            if good:
                check_state(svf, state, [(0, "config", config), (0, "user_mode", True)])
        print("ok generated svf plays, corrupted svf fails")

        # A chain description file with a missing file or an unknown device is refused, nothing written.
        for text, reason in [(f"device {fpga} file missing.sof actions program", "file not found"),
                             ("device NOPE9 file a.sof actions program", "unknown device")]:
            write("bad.cdf", "corvane-cdf 1\n" + text + "\n")
            result = run(CORVANE, "--make-player", "bad.cdf", "bad.jam", expect=1)
            if reason not in result.stderr or os.path.exists("bad.jam"):
                raise AssertionError(f"bad chain: expected '{reason}', got {result.stderr}")
        print("ok bad chains refused")
    finally:
        shutil.rmtree(work, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
