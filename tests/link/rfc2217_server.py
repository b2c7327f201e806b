#!/usr/bin/python3
"""A second RFC 2217 server for the end-to-end tests, built on pySerial's PortManager.

It serves one serial device (the emulator's pseudo-terminal) to one TCP client at a time, as
the small servers people run beside a device do: a second client waits in the listen queue
until the first has gone, and the server takes --linger seconds to let go of a client before it
accepts the next one.

usage: rfc2217_server.py --port N --device PATH [--host ADDR] [--linger S] [--log FILE]
                          [--no-hardware-flow]

--host: the address to listen on (default 127.0.0.1; 0.0.0.0 for every interface).

--no-hardware-flow: answers a request for RTS/CTS flow control with "no flow control", as a
server on a port without those lines does.
"""

import argparse
import logging
import select
import socket
import sys
import time

import serial
import serial.rfc2217


class PtySerial(serial.Serial):
    """A pseudo-terminal has no modem lines: reading them fails. It is never flow-stopped, so
    CTS reads high (and the others low), as a local port on a pseudo-terminal reads."""

    def _line(self, name, absent):
        try:
            return getattr(super(), name)
        except OSError:
            return absent

    @property
    def cts(self):
        return self._line("cts", True)

    @property
    def dsr(self):
        return self._line("dsr", False)

    @property
    def ri(self):
        return self._line("ri", False)

    @property
    def cd(self):
        return self._line("cd", False)


class NoHardwareFlow(serial.rfc2217.PortManager):
    def _telnet_process_subnegotiation(self, suboption):
        if suboption == (serial.rfc2217.COM_PORT_OPTION + serial.rfc2217.SET_CONTROL +
                         serial.rfc2217.SET_CONTROL_USE_HW_FLOW_CONTROL):
            self.serial.rtscts = False
            self.rfc2217_send_subnegotiation(serial.rfc2217.SERVER_SET_CONTROL,
                                             serial.rfc2217.SET_CONTROL_USE_NO_FLOW_CONTROL)
            return
        super()._telnet_process_subnegotiation(suboption)


class Client:
    """What PortManager writes to: the client's socket."""

    def __init__(self, sock):
        self.sock = sock

    def write(self, data):
        self.sock.sendall(data)


def serve(conn, port, log, manager_class):
    manager = manager_class(port, Client(conn), logger=log)
    fd = port.fileno()
    while True:
        ready, _, _ = select.select([conn, fd], [], [], 0.05)
        if fd in ready:
            data = port.read(port.in_waiting or 1)
            if data:
                conn.sendall(b"".join(manager.escape(data)))
        if conn in ready:
            data = conn.recv(4096)
            if not data:
                return
            # Each data byte goes out before a setting that follows it in the stream is made
            # (filter() makes the settings as it reaches them), as pySerial's own example does.
            for byte in manager.filter(data):
                port.write(byte)
        manager.check_modem_lines()


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--port", type=int, required=True)
    ap.add_argument("--host", default="127.0.0.1")
    ap.add_argument("--device", required=True)
    ap.add_argument("--linger", type=float, default=1.0)
    ap.add_argument("--log")
    ap.add_argument("--no-hardware-flow", action="store_true")
    args = ap.parse_args()

    logging.basicConfig(filename=args.log, level=logging.INFO,
                        format="%(asctime)s %(message)s")
    log = logging.getLogger("rfc2217")

    port = PtySerial(args.device, 19200, timeout=0)
    listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
    listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    listener.bind((args.host, args.port))
    listener.listen(1)
    log.info("listening on %d for %s", args.port, args.device)
    while True:
        conn, peer = listener.accept()
        conn.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        log.info("client %s", peer)
        try:
            serve(conn, port, log,
                  NoHardwareFlow if args.no_hardware_flow else serial.rfc2217.PortManager)
        except (OSError, serial.SerialException) as e:
            log.info("client lost: %s", e)
        conn.close()
        log.info("client gone")
        time.sleep(args.linger)


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(0)
