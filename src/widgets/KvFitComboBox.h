#pragma once

#include "KvTextFit.h"

#include <QComboBox>

// A closed combo box whose chosen entry keeps to the box's place whatever the language: an entry
// wider than the field beside the arrow is drawn smaller, then cut (KvTextFit), with the whole
// entry as the tool tip. The entries themselves stay whole, and the open list shows them so.
// GUI thread only.
class KvFitComboBox : public QComboBox, public KvFittedText {
    Q_OBJECT
public:
    explicit KvFitComboBox(QWidget* parent = nullptr);

    // The fit of the chosen entry in the field the style leaves beside the arrow.
    KvTextFit shownText() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;
};
