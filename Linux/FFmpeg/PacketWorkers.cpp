#include "Linux/FFmpeg/PacketWorkers.h"

#include "Platform/Error.h"
#include "Platform/System/DispatchQueue.h"

#include <iterator>
#include <system_error>

namespace pellaro {

PacketWorkers::~PacketWorkers() {
    {
        std::lock_guard lock(m_mutex);
        m_stop.request_stop();
        m_waiting.clear();
    }
    m_given.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void PacketWorkers::give(Work work) {
    auto piece = std::make_shared<Piece>();
    piece->work = std::move(work);
    std::unique_lock lock(m_mutex);
    m_finished.wait(lock, [this] { return m_unfinished < m_mostThreads; });
    if (m_unfinished >= m_threads.size())
        startThreadLocked();
    m_untaken.push_back(piece);
    m_waiting.push_back(std::move(piece));
    ++m_unfinished;
    m_given.notify_one();
}

void PacketWorkers::startThreadLocked() {
    try {
        m_threads.emplace_back([this] { run(); });
    } catch (const std::system_error &error) {
        if (m_threads.empty()) // otherwise those that are there do it, one piece after the other
            throw posixError(error.code().value());
    }
}

void PacketWorkers::run() {
    nameCurrentThread("com.pellaro.export.aac");
    useBackgroundPriority();
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_given.wait(lock, [this] { return m_stop.stop_requested() || !m_waiting.empty(); });
        if (m_waiting.empty())
            return;
        const std::shared_ptr<Piece> piece = std::move(m_waiting.front());
        m_waiting.pop_front();
        lock.unlock();
        Packets packets;
        std::exception_ptr error;
        try {
            packets = piece->work(m_stop.get_token());
        } catch (...) {
            error = std::current_exception();
        }
        piece->work = nullptr; // what it was made from goes before the next one begins
        lock.lock();
        piece->packets = std::move(packets);
        piece->error = std::move(error);
        piece->isFinished = true;
        --m_unfinished;
        m_finished.notify_all();
    }
}

void PacketWorkers::takeFinished(Packets &packets) {
    std::lock_guard lock(m_mutex);
    takeLocked(packets);
}

void PacketWorkers::takeAll(Packets &packets) {
    std::unique_lock lock(m_mutex);
    m_finished.wait(lock, [this] { return m_unfinished == 0; });
    takeLocked(packets);
}

void PacketWorkers::takeLocked(Packets &packets) {
    while (!m_untaken.empty() && m_untaken.front()->isFinished) {
        const std::shared_ptr<Piece> piece = std::move(m_untaken.front());
        m_untaken.pop_front();
        if (piece->error)
            std::rethrow_exception(piece->error);
        std::move(piece->packets.begin(), piece->packets.end(), std::back_inserter(packets));
    }
}

} // namespace pellaro
