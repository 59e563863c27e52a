#include "Sources/SettingsViewDisplays.h"

#include "Sources/L10n.h"
#include "Sources/SettingsViewChoices.h"
#include "Sources/SettingsViewMnemonics.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Desktop/Screens.h"

#include <QBoxLayout>
#include <QButtonGroup>

namespace pellaro {

std::vector<ScreenInfo> ScreenInfo::all(const Screens &screens) {
    std::vector<ScreenInfo> result{{.displayID = 0, .label = L("All Displays (Default)", "Alle Bildschirme (Standard)")}};
    for (const Screen &screen : screens.all()) {
        const std::size_t position = result.size(); // the first screen has 1
        std::string label = screen.localizedName.empty() ? "Display " + std::to_string(position) : screen.localizedName;
        if (position == 1)
            label += L(" (Main Display)", " (Hauptdisplay)");
        label +=
            " — " + std::to_string(static_cast<int>(screen.frame.width)) + " × " + std::to_string(static_cast<int>(screen.frame.height));
        result.push_back({.displayID = screen.displayID(), .label = label});
    }
    return result;
}

DisplayPicker::DisplayPicker(QWidget *parent) : QWidget(parent), m_column(new QVBoxLayout(this)), m_group(new QButtonGroup(this)) {
    setObjectName("displayPicker");
    m_column->setContentsMargins(0, 0, 0, 0);
    m_column->setSpacing(2);
    connect(m_group, &QButtonGroup::idClicked, this, [this](int position) {
        if (onChosen)
            onChosen(m_screens.at(static_cast<std::size_t>(position)).displayID);
    });
}

void DisplayPicker::setScreens(const std::vector<ScreenInfo> &screens, QWidget *before) {
    if (screens == m_screens)
        return;
    m_screens = screens;
    qDeleteAll(m_group->buttons());
    int position = 0;
    for (const ScreenInfo &screen : screens) {
        auto *row = new ChoiceRow("display" + QString::number(position), this);
        row->setProperty(withoutMnemonic, true); // whoever named the screens has not thought of any
        const auto label = QString::fromStdString(screen.label);
        row->setAccessibleName(label);
        row->setText(QString(label).replace(u'&', "&&"));
        m_group->addButton(row, position++);
        m_column->addWidget(row);
        row->show(); // rows that come while the column is on the screen stay hidden otherwise
        QWidget::setTabOrder(before, row);
        before = row;
    }
}

void DisplayPicker::select(std::uint32_t displayID) {
    m_group->setExclusive(false); // or the last one could not be given up
    for (QAbstractButton *row : m_group->buttons())
        row->setChecked(m_screens.at(static_cast<std::size_t>(m_group->id(row))).displayID == displayID);
    m_group->setExclusive(true);
    keepOneTabStop(*m_group);
}

} // namespace pellaro
