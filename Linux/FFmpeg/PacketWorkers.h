#pragma once

#include "Linux/FFmpeg/LibavPointers.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <vector>

namespace pellaro {

/// Makes packets on several threads at the same time and hands them out in the order in which the work was given.
///
/// Owns its threads, which start when there is work for them and run at background priority, so that nothing that has to be in time
/// waits for them. One thread at a time gives work and takes packets.
class PacketWorkers {
public:
    using Packets = std::vector<PacketPtr>;
    /// Makes the packets of one piece of work, on a thread of the workers. When it is asked to stop nobody wants them any longer, and it
    /// returns soon with whatever it has. What it throws comes out where its packets would have been taken.
    using Work = std::function<Packets(const std::stop_token &stop)>;

    /// @param threads at most; > 0.
    explicit PacketWorkers(std::size_t threads) : m_mostThreads(threads) {}
    /// Drops what has not begun, asks what runs to stop, and waits for it.
    ~PacketWorkers();
    PacketWorkers(const PacketWorkers &) = delete;
    PacketWorkers &operator=(const PacketWorkers &) = delete;

    /// Waits until a thread is free, so that no more pieces of work are ever held than there are threads. Throws `PlatformError` when no
    /// thread can be started at all.
    void give(Work work);
    /// Appends the packets that can be handed out by now; does not wait. Throws what a piece of work threw.
    void takeFinished(Packets &packets);
    /// Waits for all work and appends its packets. Throws what a piece of work threw.
    void takeAll(Packets &packets);

private:
    struct Piece {
        Work work;
        Packets packets;
        std::exception_ptr error;
        bool isFinished = false;
    };

    void run();
    void startThreadLocked();
    void takeLocked(Packets &packets);

    const std::size_t m_mostThreads;
    std::stop_source m_stop;
    std::mutex m_mutex;
    std::condition_variable m_given;
    std::condition_variable m_finished;
    std::deque<std::shared_ptr<Piece>> m_untaken; // in the order given; guarded by m_mutex, as is everything below
    std::deque<std::shared_ptr<Piece>> m_waiting; // not begun
    std::size_t m_unfinished = 0;
    std::vector<std::thread> m_threads;
};

} // namespace pellaro
