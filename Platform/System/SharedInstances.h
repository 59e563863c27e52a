#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <typeindex>

namespace pellaro {

/// The process-wide instances that components call `shared`, one of each type, created on first use. Any thread.
class SharedInstances {
public:
    /// The instance of T; `create` returns a `std::shared_ptr<T>` and is called once, when there is none yet.
    template <typename T, typename Create> T &get(Create create) {
        std::lock_guard lock(m_mutex); // recursive: creating one instance may ask for another
        std::shared_ptr<void> &slot = m_instances[std::type_index(typeid(T))];
        if (!slot)
            slot = create();
        return *static_cast<T *>(slot.get());
    }

private:
    std::recursive_mutex m_mutex;
    std::map<std::type_index, std::shared_ptr<void>> m_instances; // guarded by m_mutex
};

} // namespace pellaro
