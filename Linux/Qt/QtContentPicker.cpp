#include "Linux/Qt/QtContentPicker.h"

#include "Linux/Qt/WindowActivation.h"

#include <QCoreApplication>

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace pellaro {

namespace {

/// Domain of the picker's own error; its only code is 1.
constexpr const char *pickerErrorDomain = "WindowPickerErrorDomain";
constexpr int inactive = 1;

} // namespace

class QtContentPicker::Observers {
public:
    void add(std::weak_ptr<ContentPickerObserver> observer) {
        const std::lock_guard lock(m_mutex);
        std::erase_if(m_observers, [](const auto &each) { return each.expired(); });
        m_observers.push_back(std::move(observer));
    }

    /// Without the lock: observers call the picker back.
    void tell(const std::function<void(ContentPickerObserver &)> &news) {
        std::vector<std::shared_ptr<ContentPickerObserver>> present;
        {
            const std::lock_guard lock(m_mutex);
            for (const auto &observer : m_observers) {
                if (auto each = observer.lock())
                    present.push_back(std::move(each));
            }
        }
        for (const auto &observer : present)
            news(*observer);
    }

private:
    std::mutex m_mutex;
    std::vector<std::weak_ptr<ContentPickerObserver>> m_observers; // guarded by m_mutex
};

/// A wish to choose on its way to the main thread: cancelled when it does not get there.
class QtContentPicker::Presentation {
public:
    explicit Presentation(std::shared_ptr<Observers> observers) : m_observers(std::move(observers)) {}
    ~Presentation() {
        if (m_observers)
            m_observers->tell([](ContentPickerObserver &observer) { observer.contentPickerDidCancel(); });
    }
    Presentation(const Presentation &) = delete;
    Presentation &operator=(const Presentation &) = delete;

    void arrive() { m_observers.reset(); }

private:
    std::shared_ptr<Observers> m_observers;
};

QtContentPicker::QtContentPicker(MainThread &mainThread, OpenWindowGallery openGallery, LocalizedText text)
    : m_mainThread(mainThread), m_openGallery(std::move(openGallery)), m_text(std::move(text)), m_observers(std::make_shared<Observers>()) {
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, &m_context, [this] { cancel(); });
}

QtContentPicker::~QtContentPicker() {
    cancel();
}

void QtContentPicker::setActive(bool active) {
    m_isActive = active;
    if (active)
        return;
    if (m_mainThread.isCurrent()) {
        cancel();
        return;
    }
    m_mainThread.post([this, life = std::weak_ptr(m_life)] {
        if (!life.expired() && !m_isActive)
            cancel();
    });
}

void QtContentPicker::add(std::weak_ptr<ContentPickerObserver> observer) {
    m_observers->add(std::move(observer));
}

void QtContentPicker::present() {
    m_mainThread.post([this, life = std::weak_ptr(m_life), presentation = std::make_shared<Presentation>(m_observers)] {
        if (!life.expired())
            show(*presentation);
    });
}

void QtContentPicker::show(Presentation &presentation) {
    presentation.arrive();
    if (!m_isActive) {
        const PlatformError error(pickerErrorDomain, inactive, "The window picker is not active.");
        m_observers->tell([&error](ContentPickerObserver &observer) { observer.contentPickerStartDidFail(error); });
        return;
    }
    if (m_chooser) {
        bringToFront(*m_chooser);
        return;
    }
    m_chooser = std::make_unique<WindowChooser>(m_openGallery, m_text, [this](const WindowChooser::Answer &given) { answer(given); });
    m_chooser->show();
}

void QtContentPicker::answer(const WindowChooser::Answer &given) {
    const WindowChooser::Answer copy = given; // the chooser may own it
    m_chooser.release()->deleteLater();       // it is calling
    m_observers->tell([&copy](ContentPickerObserver &observer) {
        if (const auto *window = std::get_if<ShareableWindow>(&copy))
            observer.contentPickerDidUpdate({ContentFilter::WindowContent{*window}});
        else if (const auto *error = std::get_if<PlatformError>(&copy))
            observer.contentPickerStartDidFail(*error);
        else
            observer.contentPickerDidCancel();
    });
}

void QtContentPicker::cancel() {
    if (!m_chooser)
        return;
    m_chooser.reset();
    m_observers->tell([](ContentPickerObserver &observer) { observer.contentPickerDidCancel(); });
}

} // namespace pellaro
