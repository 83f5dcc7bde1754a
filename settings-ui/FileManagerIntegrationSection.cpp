#include "settings-ui/FileManagerIntegrationSection.h"

#include "integration/FileManagerIntegration.h"
#include "settings-ui/PathWatcher.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

FileManagerIntegrationSection::FileManagerIntegrationSection(QWidget* parent)
    : SettingsSection(tr("文件管理器"), parent)
    , m_reintegrate(new QPushButton(tr("重新集成")))
    , m_watcher(new PathWatcher(this))
    , m_problems(new QLabel) {
    setObjectName(QStringLiteral("fileManagers"));
    m_reintegrate->setObjectName(QStringLiteral("reintegrate"));
    addHeaderWidget(m_reintegrate);
    for (FileManagerIntegration::FileManager fileManager : FileManagerIntegration::all()) {
        auto* row = new QWidget;
        auto* layout = new QHBoxLayout(row);
        layout->setContentsMargins(12, 6, 12, 6);
        layout->addWidget(new QLabel(FileManagerIntegration::displayName(fileManager)), 1);
        auto* state = new QLabel;
        layout->addWidget(state);
        m_states.append(state);
        addRow(row);
    }
    // What could not be written, after a click on 重新集成; hidden while all is well.
    m_problems->setObjectName(QStringLiteral("integrationProblems"));
    m_problems->setWordWrap(true);
    m_problems->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_problems->setContentsMargins(12, 6, 12, 6);
    m_problems->hide();
    addRow(m_problems);
    connect(m_reintegrate, &QPushButton::clicked, this, [this] {
        const QStringList problems = FileManagerIntegration::install();
        m_problems->setText(tr("重新集成未完成：") + QLatin1Char('\n') + problems.join(QLatin1Char('\n')));
        m_problems->setVisible(!problems.isEmpty());
        refresh();
    });
    connect(m_watcher, &PathWatcher::changed, this, &FileManagerIntegrationSection::refresh);
    m_watcher->watch(watchedPaths());
    refresh();
}

QStringList FileManagerIntegrationSection::watchedPaths() const {
    // Where each file manager would be installed (the folders of PATH) and where its menu is written.
    QStringList paths;
    const QStringList folders = qEnvironmentVariable("PATH").split(QLatin1Char(':'), Qt::SkipEmptyParts);
    for (const QString& folder : folders)
        paths.append(folder + QStringLiteral("/kestro"));
    for (const FileManagerIntegration::FileManager fileManager : FileManagerIntegration::all()) {
        if (fileManager == FileManagerIntegration::FileManager::gnomeFiles ||
            fileManager == FileManagerIntegration::FileManager::nemo)
            paths.append(FileManagerIntegration::pythonExtensionPath(fileManager));
    }
    paths << FileManagerIntegration::dolphinFolder() + QStringLiteral("/kestro")
          << FileManagerIntegration::pcmanfmFolder() + QStringLiteral("/kestro")
          << FileManagerIntegration::thunarActionsPath();
    return paths;
}

void FileManagerIntegrationSection::refresh() {
    const QList<FileManagerIntegration::Status> states = FileManagerIntegration::status();
    for (qsizetype index = 0; index < states.size() && index < m_states.size(); ++index) {
        const FileManagerIntegration::Status& status = states.at(index);
        m_states.at(index)->setText(!status.installed   ? tr("未安装")
                                    : status.integrated ? tr("已集成")
                                                        : tr("已找到，未集成"));
    }
}

QStringList FileManagerIntegrationSection::statusTexts() const {
    QStringList texts;
    for (const QLabel* state : m_states)
        texts.append(state->text());
    return texts;
}
