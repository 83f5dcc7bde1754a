#pragma once

#include <memory>
#include <QString>

class ActionProgressFeed;
class QPDF;

// Opening and writing PDF documents with qpdf. Opening refuses what cannot be handled faithfully (missing,
// damaged beyond repair, locked by a password needed to open it); writing goes through a temporary file that
// takes the final name only when the whole document is written, so a failure never leaves part of a PDF
// behind.
class PdfFile {
public:
    enum class Layout {
        plain,      // qpdf's ordinary re-save
        compressed, // object streams generated, every stream compressed
    };

    // Throws FinderActionExecutionError::commandFailed with a Chinese message naming the file.
    // keepOpen false reads the file through a source that opens it only while it is being read, so that
    // very many open documents do not run out of file descriptors.
    static std::shared_ptr<QPDF> open(const QString& path, bool keepOpen = true);
    // A new document without pages, to which pages of other documents are added.
    static std::shared_ptr<QPDF> empty();
    // Throws FinderActionExecutionError::commandFailed when the document cannot be written.
    // With a feed, the bytes written are counted into its bytes done, and a stop the user asked for is
    // honoured between the document's objects: the file is then dropped unfinished and ActionCancelled
    // thrown.
    static void write(QPDF& document, const QString& path, Layout layout = Layout::plain,
                      ActionProgressFeed* feed = nullptr);
    static int pageCount(QPDF& document);
    // Appends every page of another document at the end, in page order.
    static void appendAllPages(QPDF& document, QPDF& source);
};
