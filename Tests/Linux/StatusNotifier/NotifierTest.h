#pragma once

#include "Tests/Linux/Qt/Desk.h"
#include "Tests/Linux/StatusNotifier/TestNotifierHost.h"

namespace pellaro::test {

/// A status item of the program, on a desktop that may have notifier hosts.
class NotifierTest : public testing::Test {
protected:
    ~NotifierTest() override {
        item.reset();
        QDBusConnection::disconnectFromBus(bus.name());
    }
    void createItem() {
        item = statusBar.createStatusItem();
        item->setAction([this] { events.push_back(desk.application.currentEvent()); });
        item->setToolTip("Pellaro – Paused");
        showSymbol("p.circle");
    }
    void createItemInHost() {
        createItem();
        ASSERT_TRUE(isInHost());
    }
    SymbolImage symbol(const std::string &name) {
        SymbolImage image = desk.symbols.configured(desk.symbols.image(name), 15, SymbolWeight::regular).value();
        image.isTemplate = true;
        return image;
    }
    void showSymbol(const std::string &name) {
        item->setImage(symbol(name));
        item->setTitle("");
        item->setImagePosition(ImagePosition::imageOnly);
    }
    bool isInHost() {
        return pumpUntil([this] { return !host->item().isEmpty(); }, std::chrono::seconds(3));
    }

    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "the program");
    Desk desk;
    QtStatusBar statusBar{desk.application, desk.symbols, bus};
    std::vector<std::optional<Event>> events;
    std::optional<TestNotifierHost> host;
    std::unique_ptr<StatusItem> item;
};

} // namespace pellaro::test
