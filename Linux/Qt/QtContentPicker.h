#pragma once

#include "Linux/Qt/WindowChooser.h"
#include "Platform/Capture/ContentPicker.h"
#include "Platform/System/MainThread.h"

#include <QObject>

#include <atomic>
#include <memory>

namespace pellaro {

/// A window picker of our own, for desktops that have none.
///
/// Every presentation ends with exactly one call to every observer: the choice, or a cancellation, also when the picker is deactivated
/// or the program quits meanwhile, or a failure to start. A presentation while the chooser is open brings that to the front and shares
/// its answer. Observers are called on the main thread; once its event loop has ended, a presentation is cancelled on its own thread.
///
/// Thread: created and destroyed on the main thread, `setActive`, `add` and `present` from any.
class QtContentPicker final : public ContentPicker {
public:
    /// @param mainThread outlives this object.
    /// @param openGallery called on other threads, as long as a chooser is open.
    QtContentPicker(MainThread &mainThread, OpenWindowGallery openGallery, LocalizedText text);
    ~QtContentPicker() override;

    /// An inactive picker does not start; making an open one inactive closes it.
    void setActive(bool active) override;
    void add(std::weak_ptr<ContentPickerObserver> observer) override;
    void present() override;

private:
    class Observers;
    class Presentation;

    void show(Presentation &presentation);
    void answer(const WindowChooser::Answer &given);
    void cancel();

    MainThread &m_mainThread;
    const OpenWindowGallery m_openGallery;
    const LocalizedText m_text;
    const std::shared_ptr<Observers> m_observers;                  // has its own lock
    std::atomic<bool> m_isActive = false;                          // a flag on its own
    std::unique_ptr<WindowChooser> m_chooser;                      // main thread; while open
    QObject m_context;                                             // main thread
    const std::shared_ptr<char> m_life = std::make_shared<char>(); // work that is posted holds it weakly
};

} // namespace pellaro
