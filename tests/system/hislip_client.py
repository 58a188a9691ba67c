"""A HiSLIP client for the tests: both channels, every exchange, and nothing done that it is not told to do."""
import select
import socket
import struct

HEADER = struct.Struct(">2sBBIQ")
FIRST_ID, NO_ID = 0xFFFFFF00, 0xFFFFFEFE

(INITIALIZE, INITIALIZE_RESPONSE, FATAL_ERROR, ERROR, ASYNC_LOCK, ASYNC_LOCK_RESPONSE, DATA, DATA_END,
 DEVICE_CLEAR_COMPLETE, DEVICE_CLEAR_ACKNOWLEDGE, ASYNC_REMOTE_LOCAL_CONTROL, ASYNC_REMOTE_LOCAL_RESPONSE, TRIGGER,
 INTERRUPTED, ASYNC_INTERRUPTED, ASYNC_MAXIMUM_MESSAGE_SIZE, ASYNC_MAXIMUM_MESSAGE_SIZE_RESPONSE, ASYNC_INITIALIZE,
 ASYNC_INITIALIZE_RESPONSE, ASYNC_DEVICE_CLEAR, ASYNC_SERVICE_REQUEST, ASYNC_STATUS_QUERY, ASYNC_STATUS_RESPONSE,
 ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, ASYNC_LOCK_INFO, ASYNC_LOCK_INFO_RESPONSE) = range(26)


class Hislip_Fault(Exception):
    """What the server sent is no HiSLIP, or not what belongs here."""


class Channel:
    """One of the two connections."""

    def __init__(self, address, patience=15):
        host, _, port = address.rpartition(":")
        self.socket = socket.create_connection((host, int(port)), timeout=patience)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def send(self, kind, control=0, parameter=0, payload=b""):
        self.socket.sendall(HEADER.pack(b"HS", kind, control, parameter, len(payload)) + payload)

    def read(self, count):
        data = b""
        while len(data) < count:
            piece = self.socket.recv(count - len(data))
            if not piece:
                raise EOFError("the server hung up")
            data += piece
        return data

    def receive(self):
        """Type, control code, parameter and payload of the next message."""
        prologue, kind, control, parameter, length = HEADER.unpack(self.read(HEADER.size))
        if prologue != b"HS" or length > 1 << 24:
            raise Hislip_Fault(f"no HiSLIP header: {prologue!r}, {length} bytes")
        return kind, control, parameter, self.read(length)

    def silent(self, seconds):
        return not select.select([self.socket], [], [], seconds)[0]

    def close(self):
        self.socket.close()


class Hislip:
    """A session in synchronized mode."""

    def __init__(self, address, name="hislip0", patience=15):
        self.data = Channel(address, patience)
        self.data.send(INITIALIZE, 0, 0x0100 << 16 | 0x7878, name.encode())
        kind, control, parameter, payload = self.data.receive()
        self._expect((kind, control, payload), (INITIALIZE_RESPONSE, 0, b""))
        self.version, self.session = parameter >> 16, parameter & 0xFFFF
        self.control = Channel(address, patience)
        kind, control, self.vendor, payload = self.request(ASYNC_INITIALIZE, 0, self.session)
        self._expect((kind, control, payload), (ASYNC_INITIALIZE_RESPONSE, 0, b""))
        self.sent = NO_ID
        self.delivered = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    @staticmethod
    def _expect(got, wanted):
        if got != wanted:
            raise Hislip_Fault(f"{got!r} instead of {wanted!r}")

    def close(self):
        self.control.close()
        self.data.close()

    def request(self, kind, control=0, parameter=0, payload=b""):
        self.control.send(kind, control, parameter, payload)
        return self.control.receive()

    def agree_on_size(self, size):
        kind, control, parameter, payload = self.request(ASYNC_MAXIMUM_MESSAGE_SIZE, 0, 0, struct.pack(">Q", size))
        self._expect((kind, control, parameter, len(payload)), (ASYNC_MAXIMUM_MESSAGE_SIZE_RESPONSE, 0, 0, 8))
        return struct.unpack(">Q", payload)[0]

    def write(self, text, kind=DATA_END):
        self.sent = (self.sent + 2) & 0xFFFFFFFF
        self.data.send(kind, self.delivered, self.sent, text.encode())
        self.delivered = 0

    def read(self):
        """The answer to the last message; its pieces carry its number."""
        answer = b""
        while True:
            kind, control, parameter, payload = self.data.receive()
            self._expect((kind in (DATA, DATA_END), control, parameter), (True, 0, self.sent))
            answer += payload
            if kind == DATA_END:
                self.delivered = 1
                return answer.decode()

    def ask(self, text):
        self.write(text)
        return self.read().rstrip("\n")

    def status(self):
        kind, status, parameter, payload = self.request(ASYNC_STATUS_QUERY, self.delivered, self.sent)
        self._expect((kind, parameter, payload), (ASYNC_STATUS_RESPONSE, 0, b""))
        return status

    def service_request(self):
        kind, status, parameter, payload = self.control.receive()
        self._expect((kind, parameter, payload), (ASYNC_SERVICE_REQUEST, 0, b""))
        return status

    def clear(self):
        kind, features, parameter, payload = self.request(ASYNC_DEVICE_CLEAR)
        self._expect((kind, parameter, payload), (ASYNC_DEVICE_CLEAR_ACKNOWLEDGE, 0, b""))
        self.data.send(DEVICE_CLEAR_COMPLETE, features)
        while (answer := self.data.receive())[0] != DEVICE_CLEAR_ACKNOWLEDGE:
            self._expect(answer[0] in (DATA, DATA_END), True)
        self._expect(answer[1:], (0, 0, b""))
        self.sent, self.delivered = NO_ID, 0

    def lock(self, key="", time_ms=0):
        kind, outcome, parameter, payload = self.request(ASYNC_LOCK, 1, time_ms, key.encode())
        self._expect((kind, parameter, payload), (ASYNC_LOCK_RESPONSE, 0, b""))
        return outcome
