#pragma once

#include <QFont>
#include <QString>

class QEvent;
class QWidget;

// How a text is shown in a place of fixed width. The screens keep their places whatever the
// language, and some translations are longer than the English they were laid out for: a text
// wider than its place is drawn in a smaller font, down to MinimumScale of its size, and only
// when that is not enough it is cut at its end with an ellipsis. A text shown smaller or cut
// offers the whole of it as its tool tip. A plain value; any thread.
class KvTextFit {
public:
    // Below this share of the screen's font size a caption stops reading as one of its
    // neighbours; from there on the text is cut instead.
    static constexpr double MinimumScale = 0.8;

    // text in font when it fits width pixels; otherwise in the largest smaller size, down to
    // MinimumScale of font's, in which it fits; otherwise elided to width in the smallest.
    static KvTextFit fit(const QString& text, const QFont& font, int width);

    // The text as drawn and the font it is drawn in.
    const QString& text() const { return _text; }
    const QFont& font() const { return _font; }
    // Drawn smaller than the font it was given, or cut: either way the whole text is a tool tip.
    bool shrunk() const { return _shrunk; }
    bool elided() const { return _elided; }
    bool reduced() const { return _shrunk || _elided; }

    // For a widget's event(): answers a tool tip request on a reduced text with the whole text,
    // unless the widget has a tool tip of its own. true when it answered.
    bool showWholeTextTip(QWidget* widget, QEvent* event, const QString& wholeText) const;

private:
    KvTextFit(const QString& text, const QFont& font, bool shrunk, bool elided)
        : _text(text), _font(font), _shrunk(shrunk), _elided(elided) {}

    QString _text;
    QFont _font;
    bool _shrunk = false;
    bool _elided = false;
};

// A widget that draws its text fitted to its place (KvFitLabel, the KvFitButton kinds). Its
// text() stays the whole text; this tells what it draws of it, and in which font.
class KvFittedText {
public:
    virtual ~KvFittedText() = default;
    // The fit of the widget's whole text in the width its place leaves for text.
    virtual KvTextFit shownText() const = 0;
};
