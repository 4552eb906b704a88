#pragma once

#include "KvTextFit.h"

#include <QLabel>

// A one-line caption that keeps its place whatever the language: a translation wider than the
// label is drawn smaller, then cut (KvTextFit), and its whole text is the tool tip. text() stays
// the whole text, so readers of the caption see what the language file says. Labels with a
// picture, rich text or word wrap are drawn as QLabel draws them. GUI thread only.
class KvFitLabel : public QLabel, public KvFittedText {
    Q_OBJECT
public:
    explicit KvFitLabel(QWidget* parent = nullptr);

    KvTextFit shownText() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

private:
    // A plain single line of text, the only kind that is fitted.
    bool _isFittable() const;
    // Where QLabel draws its text: inside the frame, the margin and the indent.
    QRect _textRect() const;
};
