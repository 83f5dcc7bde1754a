#pragma once

class DetailHeader;
class QScrollArea;
class QVBoxLayout;

// The frame every detail page shares: a frameless scroll area whose page widens with it, and on the page a
// column of sections under the page's header.
namespace DetailPage {

// Sets up the scroll area and returns the page's column with the header already on top.
QVBoxLayout* begin(QScrollArea* view, DetailHeader* header);
// Closes the column with a stretch and puts the page into the scroll area.
void finish(QScrollArea* view, QVBoxLayout* column);

} // namespace DetailPage
