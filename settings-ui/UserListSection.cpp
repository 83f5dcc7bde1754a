#include "settings-ui/UserListSection.h"

#include "settings-ui/FittedListView.h"
#include "settings-ui/PathWatcher.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

UserListSection::UserListSection(const QString& title, UserListModel::RowsProvider rows, QWidget* parent)
    : SettingsSection(title, parent)
    , m_model(new UserListModel(std::move(rows), this))
    , m_list(new FittedListView)
    , m_empty(new QWidget)
    , m_emptyTitle(new QLabel)
    , m_emptyExplanation(new QLabel) {
    m_list->setModel(m_model);
    m_list->setAccessibleName(title);
    addRow(m_list);

    auto* emptyLayout = new QVBoxLayout(m_empty);
    emptyLayout->setContentsMargins(0, 8, 0, 8);
    QFont bold = m_emptyTitle->font();
    bold.setBold(true);
    m_emptyTitle->setFont(bold);
    m_emptyTitle->setWordWrap(true);
    m_emptyExplanation->setWordWrap(true);
    m_emptyExplanation->setForegroundRole(QPalette::PlaceholderText);
    m_emptyExplanation->hide();
    emptyLayout->addWidget(m_emptyTitle);
    emptyLayout->addWidget(m_emptyExplanation);
    addFooter(m_empty);
    setEmptyTexts(tr("列表为空"));

    auto* bar = new QWidget;
    m_buttons = new QHBoxLayout(bar);
    m_buttons->setContentsMargins(0, 4, 0, 0);
    m_buttons->addStretch();
    addFooter(bar);

    connect(m_model, &QAbstractItemModel::modelReset, this, &UserListSection::updateState);
    connect(m_model, &QAbstractItemModel::rowsMoved, this, &UserListSection::updateState);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        updateState();
        emit selectedRowChanged(selectedRow());
    });
    updateState();
}

void UserListSection::setEmptyTexts(const QString& title, const QString& explanation) {
    m_emptyTitle->setText(title);
    m_emptyExplanation->setText(explanation);
    m_emptyExplanation->setVisible(!explanation.isEmpty());
}

QPushButton* UserListSection::addButton(const QString& text, std::function<void()> action) {
    auto* button = new QPushButton(text);
    m_buttons->addWidget(button);
    connect(button, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
    return button;
}

QPushButton* UserListSection::addSelectionButton(const QString& text, std::function<void(int row)> action) {
    auto* button = new QPushButton(text);
    m_buttons->insertWidget(0, button);
    m_selectionButtons.append(button);
    connect(button, &QPushButton::clicked, this, [this, action = std::move(action)] {
        const int row = selectedRow();
        if (row >= 0)
            action(row);
    });
    updateState();
    return button;
}

int UserListSection::selectedRow() const {
    const QModelIndexList rows = m_list->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.constFirst().row();
}

void UserListSection::reload() {
    m_model->reload();
    updateState();
    if (m_pathWatcher)
        m_pathWatcher->watch(m_followedPaths());
}

void UserListSection::followPaths(std::function<QStringList()> paths) {
    m_followedPaths = std::move(paths);
    if (!m_pathWatcher) {
        m_pathWatcher = new PathWatcher(this);
        connect(m_pathWatcher, &PathWatcher::changed, this, [this] {
            m_model->reload();
            updateState();
        });
    }
    m_pathWatcher->watch(m_followedPaths());
}

void UserListSection::updateState() {
    const bool empty = m_model->rowCount() == 0;
    m_list->setVisible(!empty);
    m_empty->setVisible(empty);
    const bool selected = selectedRow() >= 0;
    for (QPushButton* button : m_selectionButtons) {
        button->setVisible(!empty);
        button->setEnabled(selected);
    }
}
