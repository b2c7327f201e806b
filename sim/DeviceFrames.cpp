// The running firmware's side of the command protocol: frames in, answers out.

#include "Device.h"

#include <cctype>

namespace vorix::sim {

namespace {

bool isHexDigits(const QByteArray& t) {
    if (t.isEmpty())
        return false;
    for (char c : t)
        if (!std::isxdigit(quint8(c)))
            return false;
    return true;
}

bool isDigits(const QByteArray& t) {
    if (t.isEmpty())
        return false;
    for (char c : t)
        if (c < '0' || c > '9')
            return false;
    return true;
}

} // namespace

void Device::receiveByte(char c) {
    if (c == kStx) {
        // A new STX drops whatever frame was half received.
        m_timers.cancel(m_frameAlarm);
        m_inFrame = true;
        m_frame = QByteArray(1, c);
        m_frameAlarm = m_timers.at(m_now + m_options.frameLimitUs, [this] { frameTimedOut(); });
        return;
    }
    if (!m_inFrame) {
        consoleByte(c);
        return;
    }
    m_frame.append(c);
    if (c == kEtx) {
        finishFrame();
        return;
    }
    // STX, type, length, data, two checksum digits: anything longer can't be a packet.
    if (m_frame.size() > 1 + 2 + 2 + m_options.maxDataBytes + 2) {
        m_timers.cancel(m_frameAlarm);
        m_frameAlarm = 0;
        m_inFrame = false;
        if (m_trace)
            m_trace(TraceKind::FrameIn, m_frame);
        replyError(kErrTooLarge);
    }
}

void Device::frameTimedOut() {
    m_frameAlarm = 0;
    if (!m_inFrame)
        return;
    m_inFrame = false;
    if (m_trace)
        m_trace(TraceKind::FrameIn, m_frame);
    replyError(kErrTiming);
}

int Device::checkFrame(const QByteArray& frame, QByteArray* type, QList<QByteArray>* fields) const {
    const QByteArray body = frame.mid(1, frame.size() - 2);
    for (char c : body) {
        const quint8 u = quint8(c);
        if ((u < 0x20 && u != 0) || u > 0x7e)
            return kErrBadCharacter;
    }
    if (body.size() < 2)
        return kErrPacketType;
    if (body.size() < 4)
        return kErrBadData;
    *type = body.left(2);
    const QByteArray lengthField = body.mid(2, 2);
    if (!isHexDigits(lengthField))
        return kErrBadData;
    const int length = lengthField.toInt(nullptr, 16);
    if (length > m_options.maxDataBytes)
        return kErrTooLarge;
    QByteArray data = body.mid(4);
    if (data.size() == length + 2 && isHexDigits(data.right(2))) {
        // Two characters more than the length says: the sender added checksum digits.
        const quint8 sum = FrameSum(frame.left(1 + 4 + length));
        if (data.right(2).toUInt(nullptr, 16) != sum)
            return kErrChecksum;
        data.chop(2);
    } else if (data.size() != length) {
        return kErrBadData;
    }
    if (*type != "20" && *type != "30")
        return kErrPacketType;
    if (!data.endsWith('\0'))
        return kErrUnterminated;
    data.chop(1);
    *fields = data.split('\0');
    const qsizetype wanted = *type == "20" ? 1 : 2;
    if (fields->size() != wanted || (wanted == 2 && fields->at(1).isEmpty()))
        return kErrValueCount;
    return 0;
}

void Device::finishFrame() {
    m_timers.cancel(m_frameAlarm);
    m_frameAlarm = 0;
    m_inFrame = false;
    const QByteArray frame = m_frame;
    m_frame.clear();
    ++m_framesIn;
    if (m_trace)
        m_trace(TraceKind::FrameIn, frame);
    if (m_options.echo)
        send(frame);

    QByteArray type;
    QList<QByteArray> fields;
    if (const int err = checkFrame(frame, &type, &fields)) {
        replyError(err);
        return;
    }
    const QByteArray id = fields[0].toUpper();
    if (m_mode == Mode::Loader) {
        // The loader answers nothing but the speed command.
        if (type == "30" && id == "A3")
            answerSet(id, fields[1]);
        return;
    }
    if (const auto it = m_options.faults.errorFor.constFind(id);
        it != m_options.faults.errorFor.cend()) {
        replyError(*it);
        return;
    }
    if (type == "20")
        answerQuery(id);
    else
        answerSet(id, fields[1]);
}

void Device::reply(const QByteArray& frame) {
    later(m_options.replyDelayUs, [this, frame] { sendFrame(frame); });
}

// The acknowledgement goes out first; `afterAck` runs once it has left the port.
void Device::ackThen(std::function<void()> afterAck) {
    later(m_options.replyDelayUs, [this, afterAck = std::move(afterAck)] {
        sendFrame(AckReply());
        m_timers.at(m_txBusyUntilUs, afterAck);
    });
}

void Device::answerQuery(const QByteArray& id) {
    if (id == "A1") {
        reply(DataReply(id, m_powered ? "1" : "0"));
    } else if (id == "A3") {
        const QByteArray code = speedCode(m_baud);
        reply(DataReply(id, code.isEmpty() ? QByteArray("0") : code));
    } else if (id == "A8") {
        reply(DataReply(id, m_modelText));
    } else if (id == "A9") {
        reply(DataReply(id, m_firmware.toLatin1()));
    } else if (id == "A2" || id == "AC" || id == "AD" || id == "AE") {
        replyError(kErrPacketType); // keys and requests have nothing to read
    } else {
        const SettingStore::Result r = m_store->query(id);
        if (r.error)
            replyError(r.error);
        else
            reply(DataReply(id, r.value));
    }
}

void Device::answerSet(const QByteArray& id, const QByteArray& value) {
    if (id == "A1") {
        if (value != "0" && value != "1") {
            replyError(isDigits(value) ? kErrRange : kErrBadData);
            return;
        }
        if (value == "1") {
            // A device slow to wake takes several power-on commands.
            if (++m_powerTries >= m_options.powerUpTries)
                m_powered = true;
        } else {
            m_powered = false;
            m_powerTries = 0;
        }
        reply(AckReply());
    } else if (id == "A2") {
        if (!isDigits(value)) {
            replyError(kErrBadData);
            return;
        }
        const int key = value.toInt();
        if (key < Menu::Left || key > Menu::Exit) {
            replyError(kErrRange);
            return;
        }
        const Menu::Action action = m_menu.press(key);
        note("menu: " + m_menu.where().toLatin1());
        if (action == Menu::Action::FirmwareUpdate) {
            ackThen([this] { later(m_options.loaderEntryUs, [this] { enterLoader(); }); });
        } else {
            if (action == Menu::Action::RestoreDefaults) {
                m_store->restoreDefaults();
                note("defaults restored");
            }
            reply(AckReply());
        }
    } else if (id == "A3") {
        // As a device that reset while the change was on its way: it stays at its rate, silent.
        if (m_options.faults.deafToSpeedChange)
            return;
        const int rate = rateOfCode(value);
        if (rate == 0) {
            replyError(isDigits(value) ? kErrRange : kErrBadData);
            return;
        }
        later(m_options.replyDelayUs, [this, rate] {
            if (!m_options.ackAtOldRate) {
                setRate(rate);
                sendFrame(AckReply());
                return;
            }
            sendFrame(AckReply());
            m_timers.at(m_txBusyUntilUs, [this, rate] { setRate(rate); });
        });
    } else if (id == "A8" || id == "A9") {
        replyError(kErrNotWritable);
    } else if (id == "AC" || id == "AD" || id == "AE") {
        if (value != "1") {
            replyError(isDigits(value) ? kErrRange : kErrBadData);
            return;
        }
        if (id == "AD") {
            ackThen([this] { later(m_options.loaderEntryUs, [this] { enterLoader(); }); });
        } else {
            // AC restarts with the factory settings, AE just restarts.
            const bool defaults = id == "AC";
            ackThen([this, defaults] {
                if (defaults)
                    m_store->restoreDefaults();
                beginReboot(m_options.restartDelayUs, m_powerOnBaud);
            });
        }
    } else {
        const SettingStore::Result r = m_store->set(id, value);
        if (r.error) {
            replyError(r.error);
        } else if (r.action == '1' || r.action == '2') {
            const bool defaults = r.action == '2';
            ackThen([this, defaults] {
                if (defaults)
                    m_store->restoreDefaults();
                beginReboot(m_options.restartDelayUs, m_powerOnBaud);
            });
        } else if (r.action == '3') {
            ackThen([this] { later(m_options.loaderEntryUs, [this] { enterLoader(); }); });
        } else {
            reply(AckReply());
        }
    }
}

// Outside frames the firmware listens for its text debugger: "debug" opens it, "exit" leaves.
void Device::consoleByte(char c) {
    if (c == '\r' || c == '\n') {
        if (m_console)
            send("\r\n");
        const QByteArray line = m_line.trimmed();
        m_line.clear();
        if (!line.isEmpty() || m_console)
            consoleLine(line);
        return;
    }
    const quint8 u = quint8(c);
    if (u < 0x20 || u > 0x7e)
        return;
    if (m_line.size() < 80)
        m_line.append(c);
    if (m_console)
        send(QByteArray(1, c));
}

void Device::consoleLine(const QByteArray& line) {
    const QByteArray word = line.toLower();
    if (!m_console) {
        if (word == "debug") {
            m_console = true;
            note("debugger on");
            send("\r\nVorix debugger, firmware " + m_firmware.toLatin1() + "\r\n>");
        }
        return;
    }
    if (word == "exit") {
        m_console = false;
        note("debugger off");
        send("bye\r\n");
        return;
    }
    if (word == "help")
        send("help ver model rate exit\r\n");
    else if (word == "ver")
        send(m_firmware.toLatin1() + "\r\n");
    else if (word == "model")
        send(m_modelText + "\r\n");
    else if (word == "rate")
        send(QByteArray::number(m_baud) + "\r\n");
    else if (!word.isEmpty())
        send("?\r\n");
    send(">");
}

} // namespace vorix::sim
