#pragma once
// A TCP proxy on loopback that delays each direction, with jitter: the far network of the tests
// (the kernel here has no netem). Each chunk read from one side is written to the other after
// half the round trip, give or take half the jitter, never before a chunk read earlier in the
// same direction (TCP keeps order). It runs on its own thread, as a real network does, so a
// program blocked on its socket is still served. It can hang up on every client, and refuse
// connections for a while, as a server that went away.

#include <QString>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

namespace telvo::test {

class DelayProxy {
public:
    // `roundTripMs` is the whole delay a request and its answer meet; each round trip then lies
    // within roundTripMs - jitterMs and roundTripMs + jitterMs.
    DelayProxy(quint16 targetPort, int roundTripMs, int jitterMs, unsigned seed = 1)
        : m_target(targetPort), m_roundTrip(roundTripMs), m_jitter(jitterMs), m_random(seed) {
        if (::pipe(m_wake) != 0)
            m_wake[0] = m_wake[1] = -1;
        listenOn(0);
        m_thread = std::thread([this] { run(); });
    }
    ~DelayProxy() {
        m_stop = true;
        poke();
        if (m_thread.joinable())
            m_thread.join();
        for (Pair& p : m_pairs)
            closePair(p);
        if (m_listen >= 0)
            ::close(m_listen);
        if (m_wake[0] >= 0)
            ::close(m_wake[0]);
        if (m_wake[1] >= 0)
            ::close(m_wake[1]);
    }
    DelayProxy(const DelayProxy&) = delete;
    DelayProxy& operator=(const DelayProxy&) = delete;

    quint16 port() const { return m_port; }
    QString address(const QString& scheme) const {
        return scheme + QStringLiteral("://127.0.0.1:") + QString::number(m_port);
    }
    int accepted() const { return m_accepted; }
    // The next chunk the server sends is held `extraMs` longer than the rest: one slow answer.
    void holdNextAnswer(int extraMs) { m_hold = extraMs; }

    // The server goes away: every connection is closed and new ones are refused until up().
    void down() {
        m_wantDown = true;
        poke();
        while (!m_isDown)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    void up() {
        m_wantDown = false;
        poke();
        while (m_isDown)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

private:
    struct Chunk {
        std::chrono::steady_clock::time_point due;
        std::vector<char> bytes;
    };
    struct Direction {
        std::deque<Chunk> queue;
        std::chrono::steady_clock::time_point last{};
    };
    struct Pair {
        int client = -1;
        int server = -1;
        Direction up;   // client to server
        Direction down; // server to client
    };
    using Clock = std::chrono::steady_clock;

    void poke() {
        const char c = 1;
        if (m_wake[1] >= 0)
            (void)!::write(m_wake[1], &c, 1);
    }
    void listenOn(quint16 port) {
        m_listen = ::socket(AF_INET, SOCK_STREAM, 0);
        const int one = 1;
        ::setsockopt(m_listen, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(port);
        ::bind(m_listen, reinterpret_cast<sockaddr*>(&a), sizeof a);
        ::listen(m_listen, 8);
        if (port != 0)
            return; // back on its own port: the number stands
        socklen_t len = sizeof a;
        ::getsockname(m_listen, reinterpret_cast<sockaddr*>(&a), &len);
        m_port = ntohs(a.sin_port);
    }
    static void noDelay(int fd) {
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    int connectTarget() const {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(m_target);
        if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            ::close(fd);
            return -1;
        }
        noDelay(fd);
        return fd;
    }
    static void closePair(Pair& p) {
        if (p.client >= 0)
            ::close(p.client);
        if (p.server >= 0)
            ::close(p.server);
        p.client = p.server = -1;
    }
    Clock::duration oneWay() {
        std::uniform_int_distribution<int> spread(-m_jitter / 2, m_jitter / 2);
        const int ms = std::max(0, m_roundTrip / 2 + (m_jitter > 0 ? spread(m_random) : 0));
        return std::chrono::milliseconds(ms);
    }
    // Reads what `from` has into `dir`; false when the side hung up.
    bool take(int from, Direction& dir, int extraMs = 0) {
        char buffer[4096];
        const ssize_t n = ::recv(from, buffer, sizeof buffer, 0);
        if (n <= 0)
            return false;
        Chunk c;
        c.due = std::max(Clock::now() + oneWay() + std::chrono::milliseconds(extraMs), dir.last);
        dir.last = c.due;
        c.bytes.assign(buffer, buffer + n);
        dir.queue.push_back(std::move(c));
        return true;
    }
    static bool deliver(int to, Direction& dir) {
        const auto now = Clock::now();
        while (!dir.queue.empty() && dir.queue.front().due <= now) {
            const std::vector<char>& b = dir.queue.front().bytes;
            std::size_t sent = 0;
            while (sent < b.size()) {
                const ssize_t n = ::send(to, b.data() + sent, b.size() - sent, MSG_NOSIGNAL);
                if (n <= 0)
                    return false;
                sent += std::size_t(n);
            }
            dir.queue.pop_front();
        }
        return true;
    }
    void run() {
        while (!m_stop) {
            if (m_wantDown && !m_isDown) {
                for (Pair& p : m_pairs)
                    closePair(p);
                m_pairs.clear();
                ::close(m_listen);
                m_listen = -1;
                m_isDown = true;
            } else if (!m_wantDown && m_isDown) {
                listenOn(m_port);
                m_isDown = false;
            }
            std::vector<pollfd> fds;
            fds.push_back({m_wake[0], POLLIN, 0});
            if (m_listen >= 0)
                fds.push_back({m_listen, POLLIN, 0});
            const std::size_t firstPair = fds.size();
            auto next = Clock::now() + std::chrono::milliseconds(200);
            for (const Pair& p : m_pairs) {
                fds.push_back({p.client, POLLIN, 0});
                fds.push_back({p.server, POLLIN, 0});
                if (!p.up.queue.empty())
                    next = std::min(next, p.up.queue.front().due);
                if (!p.down.queue.empty())
                    next = std::min(next, p.down.queue.front().due);
            }
            const auto wait =
                std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now());
            ::poll(fds.data(), fds.size(), int(std::max<qint64>(0, wait.count() + 1)));
            if (fds[0].revents & POLLIN) {
                char drain[64];
                (void)!::read(m_wake[0], drain, sizeof drain);
            }
            if (m_listen >= 0 && (fds[1].revents & POLLIN)) {
                const int client = ::accept(m_listen, nullptr, nullptr);
                if (client >= 0) {
                    ++m_accepted;
                    noDelay(client);
                    Pair p;
                    p.client = client;
                    p.server = connectTarget();
                    if (p.server < 0)
                        ::close(client);
                    else
                        m_pairs.push_back(std::move(p));
                }
            }
            for (std::size_t i = 0; i < m_pairs.size() && firstPair + 2 * i + 1 < fds.size(); ++i) {
                Pair& p = m_pairs[i];
                const short fromClient = fds[firstPair + 2 * i].revents;
                const short fromServer = fds[firstPair + 2 * i + 1].revents;
                bool alive = true;
                if (fromClient & (POLLIN | POLLHUP | POLLERR))
                    alive = take(p.client, p.up) && alive;
                if (fromServer & (POLLIN | POLLHUP | POLLERR))
                    alive = take(p.server, p.down, m_hold.exchange(0)) && alive;
                if (!alive)
                    closePair(p);
            }
            for (Pair& p : m_pairs) {
                if (p.client < 0)
                    continue;
                if (!deliver(p.server, p.up) || !deliver(p.client, p.down))
                    closePair(p);
            }
            std::erase_if(m_pairs, [](const Pair& p) { return p.client < 0; });
        }
    }

    quint16 m_target;
    int m_roundTrip;
    int m_jitter;
    std::mt19937 m_random;
    int m_listen = -1;
    quint16 m_port = 0;
    int m_wake[2] = {-1, -1};
    std::vector<Pair> m_pairs;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_wantDown{false};
    std::atomic<bool> m_isDown{false};
    std::atomic<int> m_accepted{0};
    std::atomic<int> m_hold{0};
    std::thread m_thread;
};

} // namespace telvo::test
