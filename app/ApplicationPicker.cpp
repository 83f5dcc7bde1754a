#include "app/ApplicationPicker.h"

#include "stores/CustomDestinationDefaults.h"
#include "stores/DesktopEntryName.h"

#include <QCollator>
#include <QDialogButtonBox>
#include <QDir>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QVBoxLayout>

namespace {

QIcon iconOf(const QString& icon) {
    if (QDir::isAbsolutePath(icon))
        return QIcon(icon);
    return QIcon::fromTheme(icon, QIcon::fromTheme(QStringLiteral("application-x-executable")));
}

} // namespace

QList<ApplicationPicker::Application> ApplicationPicker::installed() {
    QList<Application> applications;
    QSet<QString> seen;
    for (const QString& folder : CustomDestinationDefaults::applicationEntryDirectories()) {
        const QFileInfoList entries =
            QDir(folder).entryInfoList({QStringLiteral("*.desktop")}, QDir::Files | QDir::Readable);
        for (const QFileInfo& entry : entries) {
            if (seen.contains(entry.fileName()))
                continue;
            seen.insert(entry.fileName());
            const QHash<QString, QString> keys = DesktopEntryName::mainGroup(entry.filePath());
            const QString name = DesktopEntryName::nameIn(keys);
            const auto isTrue = [&keys](const char* key) {
                return keys.value(QLatin1String(key)) == QLatin1String("true");
            };
            if (name.isEmpty() || keys.value(QStringLiteral("Type")) != QLatin1String("Application") ||
                isTrue("NoDisplay") || isTrue("Hidden"))
                continue;
            applications.append({name, iconOf(keys.value(QStringLiteral("Icon"))), entry.filePath()});
        }
    }
    QCollator collator(QLocale(QLocale::Chinese, QLocale::China));
    std::sort(applications.begin(), applications.end(),
              [&collator](const Application& a, const Application& b) {
                  return collator.compare(a.name, b.name) < 0;
              });
    return applications;
}

ApplicationPicker::ApplicationPicker(const QString& title, std::function<std::optional<QString>()> browse,
                                     QWidget* parent)
    : QDialog(parent)
    , m_list(new QListWidget) {
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(title));
    m_list->setIconSize(QSize(32, 32));
    m_list->setMinimumSize(380, 360);
    for (const Application& application : installed()) {
        auto* item = new QListWidgetItem(application.icon, application.name, m_list);
        item->setData(Qt::UserRole, application.path);
        item->setToolTip(application.path);
    }
    layout->addWidget(m_list, 1);

    auto* buttons = new QDialogButtonBox;
    QPushButton* add = buttons->addButton(tr("添加"), QDialogButtonBox::AcceptRole);
    add->setDefault(true);
    QPushButton* other = buttons->addButton(tr("其他应用…"), QDialogButtonBox::ActionRole);
    buttons->addButton(tr("取消"), QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    const auto updateAdd = [this, add] {
        add->setEnabled(m_list->currentItem() != nullptr);
    };
    connect(m_list, &QListWidget::currentItemChanged, this, updateAdd);
    updateAdd();
    const auto takeCurrent = [this] {
        if (QListWidgetItem* item = m_list->currentItem()) {
            m_chosen = item->data(Qt::UserRole).toString();
            accept();
        }
    };
    connect(m_list, &QListWidget::itemActivated, this, takeCurrent);
    connect(buttons, &QDialogButtonBox::accepted, this, takeCurrent);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(other, &QPushButton::clicked, this, [this, browse = std::move(browse)] {
        if (const std::optional<QString> path = browse()) {
            m_chosen = path;
            accept();
        }
    });
}
