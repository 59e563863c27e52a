#include "Sources/SettingsViewStorage.h"

#include "Sources/AppSettings.h"
#include "Sources/SettingsViewParts.h"

#include "Platform/Platform.h"
#include "Platform/System/FileManager.h"

#include <QBoxLayout>
#include <QDir>
#include <QFileDialog>
#include <QFrame>
#include <QPushButton>
#include <QUrl>

namespace pellaro {

namespace {

constexpr int topPadding = 16;
constexpr int dividerPadding = 12;

/// The folder itself or, where it is gone, what is left of the way to it.
QString nearestExistingFolder(QString path) {
    while (!path.isEmpty() && !QFileInfo(path).isDir()) {
        const qsizetype slash = path.lastIndexOf(u'/');
        path = slash > 0 ? path.left(slash) : QString();
    }
    return path.isEmpty() ? QDir::homePath() : path;
}

} // namespace

StorageTab::StorageTab(Platform &platform, QWidget *parent)
    : SettingsTab(parent), m_platform(platform), m_settings(AppSettings::shared()),
      m_locationHeader(new SettingsSectionHeader("locationHeader", this)),
      m_path(new ElidedText("savePath", TextSize::body, Tone::primary, this)), m_chooseButton(new QPushButton(this)),
      m_locationCaption(new SettingsText("locationCaption", TextSize::caption, Tone::secondary, this)),
      m_nameHeader(new SettingsSectionHeader("nameHeader", this)),
      m_name(new SettingsText("fileName", TextSize::body, Tone::primary, this)),
      m_nameCaption(new SettingsText("nameCaption", TextSize::caption, Tone::secondary, this)) {
    setObjectName("storageTab");
    m_chooseButton->setObjectName("chooseFolderButton");
    m_locationCaption->setWordWrap(true);
    m_nameCaption->setWordWrap(true);

    auto *location = new QHBoxLayout;
    location->setSpacing(rowSpacing);
    location->addWidget(m_path, 1);
    location->addWidget(m_chooseButton);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(sectionPadding, topPadding, sectionPadding, sectionPadding);
    column->setSpacing(rowSpacing);
    column->addWidget(m_locationHeader);
    column->addLayout(location);
    column->addWidget(m_locationCaption);
    column->addSpacing(dividerPadding - rowSpacing);
    column->addWidget(makeDivider(Qt::Horizontal, this));
    column->addSpacing(dividerPadding - rowSpacing);
    column->addWidget(m_nameHeader);
    column->addWidget(m_name);
    column->addWidget(m_nameCaption);
    column->addStretch(1);
    connect(m_chooseButton, &QPushButton::clicked, this, &StorageTab::showPathPicker);
}

void StorageTab::refresh() {
    m_locationHeader->say(localized("Save Location", "Speicherort"));
    m_path->say(QString::fromStdString(shortenedPath(m_settings.savePath())));
    // The two end differently, as the texts were given.
    setLabel(*m_chooseButton, localized("Choose Folder …", "Ordner wählen ..."));
    m_locationCaption->say(localized("~/Movies is used by default.", "Standardmäßig wird ~/Movies verwendet."));
    m_nameHeader->say(localized("File Name", "Dateiname"));
    m_name->say("Pellaro_YYYY-MM-DD_HHMMSS.mp4");
    m_nameCaption->say(localized("File name is generated automatically from date and time.",
                                 "Dateiname wird automatisch aus Datum und Uhrzeit generiert."));
}

std::string StorageTab::shortenedPath(const std::string &path) {
    const std::string home = Platform::current().files.homeDirectory();
    return path.starts_with(home) ? "~" + path.substr(home.size()) : path;
}

void StorageTab::showPathPicker() {
    if (m_pathPicker) {
        m_pathPicker->raise();
        m_pathPicker->activateWindow();
        return;
    }
    m_pathPicker = new QFileDialog(this, {}, nearestExistingFolder(QString::fromStdString(m_settings.savePath())));
    m_pathPicker->setObjectName("pathPicker");
    m_pathPicker->setAttribute(Qt::WA_DeleteOnClose);
    m_pathPicker->setFileMode(QFileDialog::Directory);
    m_pathPicker->setOption(QFileDialog::ShowDirsOnly);
    m_pathPicker->setSupportedSchemes({"file"});
    connect(m_pathPicker, &QFileDialog::accepted, this, [this] {
        const QList<QUrl> chosen = m_pathPicker->selectedUrls();
        if (!chosen.isEmpty() && chosen.front().isLocalFile())
            m_settings.setSavePath(chosen.front().toLocalFile().toStdString());
    });
    m_pathPicker->open();
}

} // namespace pellaro
