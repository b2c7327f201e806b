#!/usr/bin/env python3
"""Writes the seed corpus of `make fuzz` into tests/fuzz/corpus/<name> (name = target less
"fuzz_"). Seeds are whole exchanges and whole files, so the fuzzer starts deep in the code
rather than at the first byte check. The ir seeds were made by hand and are left as they are; the gamma tool keeps its own in
tests/gamma/corpus."""
import os
import sys

root = os.path.join(os.path.dirname(os.path.abspath(__file__)), "corpus")
STX, ETX, NUL = b"\x02", b"\x03", b"\x00"


def frame(kind, *fields):
    data = b"".join(f + NUL for f in fields)
    return STX + kind + b"%02x" % len(data) + data + ETX


def query(ident):
    return frame(b"20", ident)


def setting(ident, value):
    return frame(b"30", ident, value)


def reply(ident, value):
    body = STX + b"21" + b"%02x" % (len(ident) + len(value) + 2) + ident + NUL + value + NUL
    return body + b"%02X" % (sum(body) & 0xFF) + ETX


ACK = STX + b"01051" + NUL + b"30" + NUL + b"5C" + ETX

receive = {
    # Power up as the program does it: switch on, ask until on, then model, firmware, speed.
    "power-up": setting(b"A1", b"1") + setting(b"A1", b"1") + query(b"A1") + query(b"A8")
    + query(b"A9") + query(b"A3"),
    "power-off": setting(b"A1", b"0") + query(b"A1") + setting(b"A1", b"7") + setting(b"A1", b"x"),
    "settings": setting(b"A1", b"1") + query(b"4C") + setting(b"4C", b"3") + query(b"B1")
    + setting(b"B1", b"-12") + setting(b"B2", b"99") + query(b"E1") + setting(b"53", b"2"),
    "keys": setting(b"A1", b"1") + b"".join(setting(b"A2", b"%d" % k) for k in range(1, 8))
    + setting(b"AC", b"1") + setting(b"AD", b"1") + setting(b"AE", b"1"),
    "speed": setting(b"A3", b"6") + query(b"A3") + setting(b"A3", b"4"),
    "console": b"debug\r\nhelp\r\nver\r\nmodel\r\nrate\r\nbogus\r\n\x08\x08exit\r\n",
    "replies": reply(b"A1", b"1") + ACK + reply(b"A8", b"Gorda V2 SDI") + reply(b"A9", b"1.24")
    + b"\r\n>" + reply(b"4C", b"3") + STX + b"0103E" + NUL + b"12" + ETX,
    "loader": b"Load frk File now.\r\n\\\x08|\x08/\x08-\x08" + ACK + b"Failure restart.\r\n"
    + setting(b"A3", b"6"),
    "bad-frames": frame(b"40", b"A1") + STX + b"2003A1" + ETX + STX + b"20zzA1" + NUL + ETX
    + frame(b"30", b"A1") + STX + b"2009A1" + NUL + ETX + query(b"ZZ"),
    "mixed": b"debug\r" + setting(b"A1", b"1") + b"ver\r" + reply(b"A1", b"1") + query(b"A8")
    + b"exit\r" + query(b"B3"),
}

ini_path = os.path.join(os.path.dirname(root), "..", "..", "data", "Telvo.ini")
with open(ini_path, "rb") as f:
    sample_ini = f.read()
inifile = {
    "sample": sample_ini,
    "system-only": sample_ini.split(b"[COMMANDS]")[0],
    "commands": b"[SYSTEM]\r\nModel = Gorda\r\n[COMMANDS]\r\nInput = [0] 4C ; (1)Video-1,(2)Video-2 ;\r\n"
    b"Brightness = [1] B1 ; -50..50 ;\r\n[M:Gorda]Contrast/R = [1] B2 ; 0..9 ;\r\n"
    b"[~O:SDI]Level = [2] C1 ; 1..3 ; dB\r\n",
}

update = {
    "list": b"HTTP/1.0 200 OK\r\nContent-Type: text/plain\r\n\r\n"
    b"gorda_1_24,http://updates.telvo.example/vorix/gorda_1_24.frk\r\n"
    b"gorda_1_25,http://updates.telvo.example/vorix/gorda_1_25.frk\r\n"
    b"fenna_3,http://updates.telvo.example/vorix/fenna_3.frk\r\n",
    "url": b"http://updates.telvo.example:8080/vorix/list.txt?x=1",
    "notes": b"<html><body>x<!-- #BeginEditable \"content\" -->Release 1.25<br>fixes<p><b>Downloads</b></p>"
    b"tail</body></html>",
    "lf-only": b"HTTP/1.0 200 OK\n\ngorda_1,http://x/a.frk\n../up,http://x/b.frk\n",
}

fw_files = {
    "restart": b"COM1,19200,57600,0\r\n",
    "list": b"gorda_1_24.frk\r\ngorda_1_25.frk\r\nfenna_3.frk\r\n",
    "restart-big": b"COM12,57600,115200,70000\r\n",
}

IAC, SB, SE, WILL, WONT, DO, DONT = 255, 250, 240, 251, 252, 253, 254


def sub(command, *value):
    esc = b"".join(bytes([v, v]) if v == IAC else bytes([v]) for v in value)
    return bytes([IAC, SB, 44, command]) + esc + bytes([IAC, SE])


def verb(v, option):
    return bytes([IAC, v, option])


rfc2217 = {
    # What a COM port server says when a client connects and sets its port, then a reply frame.
    "open": verb(WILL, 3) + verb(DO, 3) + verb(WILL, 1) + verb(DONT, 1) + verb(DO, 0)
    + verb(WILL, 0) + verb(DO, 44) + sub(107, 0) + sub(112, 3) + sub(101, 0, 0, 0x4B, 0)
    + sub(102, 8) + sub(103, 1) + sub(104, 1) + sub(105, 3) + reply(b"A1", b"1"),
    "data-with-iac": STX + b"21" + bytes([IAC, IAC, 0, IAC, IAC]) + ETX + sub(107, 0x11)
    + sub(101, 0, 0, IAC, 0),
    "refused": verb(DONT, 44) + verb(WONT, 0) + verb(DONT, 0) + b"plain bytes\r\n",
    "broken-sub": bytes([IAC, SB, 44, 101, 1, IAC, 7]) + b"after" + bytes([IAC, SB, 24, 1, IAC, SE]),
}

settings = {
    # Settings.txt as a save writes it (CR LF lines), and as hands edit it.
    "saved": b"SetState=Input Video 1,4C1; SetParameter=Brightness, B117\r\n"
    b"SetState=Input Video 1,4C1; SetParameter=Contrast, B250\r\n"
    b"SetState=Input RGB,4C3; SetParameter=Sharpness, D3-4\r\n"
    b"SetParameter=Output Resolution, E0 1024 768 60\r\n"
    b"SetParameter=Gamma, 53\r\n",
    "edited": b"setstate=input 2,4c2;setparameter=Hue,B30\n SetParameter = Tint ,B4 9 \n"
    b"SetState=,;=,\r\nSetState\r\nSetParameter\r\n=\r\n,\r\n;\r\n\t\r\n",
    "answers": b"\x0221" b"05A1\x001\x00cc\x03\r\n\x0221" b"99B1\x0017\x00\x03\r\n\x0221-9\r\n",
}

for target, seeds in {"receive": receive, "inifile": inifile, "update": update,
                      "fw_files": fw_files, "rfc2217": rfc2217, "settings": settings}.items():
    out = os.path.join(root, target)
    os.makedirs(out, exist_ok=True)
    for name, data in seeds.items():
        with open(os.path.join(out, name), "wb") as f:
            f.write(data)
print("seeds written under", root, file=sys.stderr)
