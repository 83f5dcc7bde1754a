#pragma once

#include "platform/KestroError.h"

// The one error type of the actions. Its text is the Chinese message a log line or alert shows.
class FinderActionExecutionError : public KestroError {
public:
    enum class Case {
        applicationNotFound,
        destinationDirectoryUnavailable,
        invalidPath,
        sourceItemMissing,
        commandFailed,
        unsupportedAction,
        noSelection,
        noTargetDirectory,
        noClipboardPath,
        pasteboardWriteFailed,
    };

    static FinderActionExecutionError applicationNotFound(const QString& name) {
        return {Case::applicationNotFound, name};
    }
    static FinderActionExecutionError destinationDirectoryUnavailable(const QString& path) {
        return {Case::destinationDirectoryUnavailable, path};
    }
    static FinderActionExecutionError invalidPath(const QString& text) { return {Case::invalidPath, text}; }
    static FinderActionExecutionError sourceItemMissing(const QString& path) {
        return {Case::sourceItemMissing, path};
    }
    static FinderActionExecutionError commandFailed(const QString& message) {
        return {Case::commandFailed, message};
    }
    static FinderActionExecutionError unsupportedAction(const QString& actionID) {
        return {Case::unsupportedAction, actionID};
    }
    static FinderActionExecutionError noSelection() { return {Case::noSelection, {}}; }
    static FinderActionExecutionError noTargetDirectory() { return {Case::noTargetDirectory, {}}; }
    static FinderActionExecutionError noClipboardPath() { return {Case::noClipboardPath, {}}; }
    static FinderActionExecutionError pasteboardWriteFailed() { return {Case::pasteboardWriteFailed, {}}; }

    Case errorCase() const { return m_case; }
    const QString& payload() const { return m_payload; }
    QString errorDescription() const override;

private:
    FinderActionExecutionError(Case errorCase, QString payload);

    Case m_case;
    QString m_payload;
};
