#include "app/WidgetPrompts.h"

#include "app/ApplicationPicker.h"
#include "platform/PlatformWords.h"

#include <QApplication>
#include <QComboBox>
#include <QCompleter>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QVBoxLayout>

namespace {

QString translated(const char* text) {
    return QCoreApplication::translate("WidgetPrompts", text);
}

// Shows a dialog modal to the whole application and in front, then waits for its answer. The modality is
// set before it is shown: exec() on a dialog already visible would leave it non-modal.
int runInFront(QDialog& dialog) {
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
    return dialog.exec();
}

// The alert every prompt shares: a bold message, an explanation, an accessory, then the accept and cancel
// buttons in that order.
class PromptDialog : public QDialog {
public:
    PromptDialog(const QString& title, const QString& message, const QString& acceptText) {
        setWindowTitle(QStringLiteral("Kestro"));
        m_layout = new QVBoxLayout(this);
        auto* heading = new QLabel(title);
        QFont bold = heading->font();
        bold.setBold(true);
        heading->setFont(bold);
        heading->setWordWrap(true);
        m_layout->addWidget(heading);
        if (!message.isEmpty()) {
            auto* explanation = new QLabel(message);
            explanation->setWordWrap(true);
            m_layout->addWidget(explanation);
        }
        m_buttons = new QDialogButtonBox;
        m_buttons->addButton(acceptText, QDialogButtonBox::AcceptRole)->setDefault(true);
        m_buttons->addButton(translated("取消"), QDialogButtonBox::RejectRole);
        connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
        connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    }

    void addAccessory(QWidget* accessory) { m_layout->addWidget(accessory); }

    bool run() {
        m_layout->addWidget(m_buttons);
        return runInFront(*this) == QDialog::Accepted;
    }

private:
    QVBoxLayout* m_layout = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
};

// The panel's own settings from the request: title, accept button, start folder, folder creation.
void prepareFileDialog(QFileDialog& dialog, const OpenPanelRequest& request) {
    dialog.setWindowTitle(request.title);
    if (!request.buttonLabel.isEmpty())
        dialog.setLabelText(QFileDialog::Accept, request.buttonLabel);
    if (!request.initialDirectory.isEmpty())
        dialog.setDirectory(request.initialDirectory);
    // A read-only panel offers no "new folder" (nor renaming or deleting).
    dialog.setOption(QFileDialog::ReadOnly, !request.canCreateFolders);
}

std::optional<QString> runFileDialog(QFileDialog& dialog) {
    if (runInFront(dialog) != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return std::nullopt;
    return QDir::cleanPath(dialog.selectedFiles().constFirst());
}

// What this system launches as an application: a desktop entry or an executable file. Folders are opened in
// the panel, never chosen, so they are no question here.
bool isApplication(const QFileInfo& info) {
    return info.isFile() && (info.suffix() == QLatin1String("desktop") || info.isExecutable());
}

// The panel lists folders and applications only.
class ApplicationFilter : public QSortFilterProxyModel {
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
        // The file panel's own model is always the source.
        const auto* files = static_cast<QFileSystemModel*>(sourceModel());
        const QFileInfo info = files->fileInfo(files->index(row, 0, parent));
        return info.isDir() || isApplication(info);
    }
};

// An open panel for one application. The filter needs Qt's own panel; the system's would ignore it. A typed
// name that is no application is refused with a message and the panel stays open.
class ApplicationFileDialog : public QFileDialog {
public:
    explicit ApplicationFileDialog(const QString& title)
        : QFileDialog(nullptr, title) {
        setOption(QFileDialog::DontUseNativeDialog);
        setFileMode(QFileDialog::ExistingFile);
        setProxyModel(new ApplicationFilter(this));
    }

    void accept() override {
        const QStringList chosen = selectedFiles();
        if (chosen.size() == 1) {
            const QFileInfo info(chosen.constFirst());
            // A folder is opened, not chosen; the panel does that itself.
            if (info.isFile() && !isApplication(info)) {
                QMessageBox alert(QMessageBox::Warning, QStringLiteral("Kestro"),
                                  translated("“%1”不是应用：请选择 .desktop 文件或可执行文件。")
                                      .arg(QDir::toNativeSeparators(info.filePath())),
                                  QMessageBox::NoButton, this);
                alert.addButton(translated("确定"), QMessageBox::AcceptRole);
                alert.exec();
                return;
            }
        }
        QFileDialog::accept();
    }
};

} // namespace

std::optional<QString> WidgetPrompts::promptText(const QString& title, const QString& message) {
    PromptDialog dialog(title, message, translated("确定"));
    auto* field = new QLineEdit;
    field->setMinimumWidth(320);
    dialog.addAccessory(field);
    field->setFocus();
    field->selectAll();
    if (!dialog.run())
        return std::nullopt;
    return field->text();
}

std::optional<std::pair<QString, QString>> WidgetPrompts::promptTwoTexts(const QString& title,
                                                                         const QString& message,
                                                                         const QString& firstHint,
                                                                         const QString& secondHint) {
    PromptDialog dialog(title, message, translated("确定"));
    auto* first = new QLineEdit;
    auto* second = new QLineEdit;
    for (QLineEdit* field : {first, second}) {
        field->setMinimumWidth(360);
        dialog.addAccessory(field);
    }
    first->setPlaceholderText(firstHint);
    second->setPlaceholderText(secondHint);
    first->setFocus();
    if (!dialog.run())
        return std::nullopt;
    return std::make_pair(first->text(), second->text());
}

std::optional<QString> WidgetPrompts::chooseDirectory(const QString& buttonLabel) {
    QFileDialog dialog(nullptr, translated("选择目标文件夹"));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, buttonLabel);
    return runFileDialog(dialog);
}

std::optional<QString> WidgetPrompts::chooseItem(const OpenPanelRequest& request) {
    if (request.choose == OpenPanelRequest::Choose::application) {
        ApplicationPicker picker(request.title, [&request] {
            ApplicationFileDialog dialog(request.title);
            prepareFileDialog(dialog, request);
            return runFileDialog(dialog);
        });
        if (runInFront(picker) != QDialog::Accepted)
            return std::nullopt;
        return picker.chosenPath();
    }
    QFileDialog dialog(nullptr, request.title);
    prepareFileDialog(dialog, request);
    if (request.choose == OpenPanelRequest::Choose::folder) {
        dialog.setFileMode(QFileDialog::Directory);
        dialog.setOption(QFileDialog::ShowDirsOnly);
    } else {
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    return runFileDialog(dialog);
}

std::optional<QString> WidgetPrompts::chooseShortcutName(const QString& title, const QString& message,
                                                         const QString& placeholder,
                                                         const QStringList& names) {
    PromptDialog dialog(title, message, translated("添加"));
    auto* box = new QComboBox;
    box->setEditable(true);
    box->setInsertPolicy(QComboBox::NoInsert);
    box->addItems(names);
    // An editable box completes typed text from its items; the completion is inline, as in the menu.
    box->completer()->setCompletionMode(QCompleter::InlineCompletion);
    box->completer()->setCaseSensitivity(Qt::CaseInsensitive);
    box->lineEdit()->setPlaceholderText(placeholder);
    box->setCurrentIndex(names.isEmpty() ? -1 : 0);
    box->setFixedWidth(320);
    dialog.addAccessory(box);
    box->setFocus();
    if (!dialog.run())
        return std::nullopt;
    return box->currentText();
}

bool WidgetPrompts::confirmRequestFromAnotherProgram(const ConsentRequest& request) {
    ConsentDialog dialog(request, m_consentTiming);
    return dialog.ask();
}

std::optional<QString> WidgetPrompts::requestFeatureText() {
    PromptDialog dialog(translated("请求新功能"), platformText(PlatformText::featureRequestExplanation),
                        translated("提交"));
    auto* text = new QPlainTextEdit;
    text->setMinimumSize(420, 140);
    text->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    dialog.addAccessory(text);
    text->setFocus();
    if (!dialog.run())
        return std::nullopt;
    return text->toPlainText();
}
