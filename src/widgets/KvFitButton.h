#pragma once

#include "KvTextFit.h"

#include <QCheckBox>
#include <QEvent>
#include <QPushButton>
#include <QRadioButton>
#include <QStyleOptionButton>
#include <QStylePainter>

// Which part of the style draws a button kind, and where its text goes.
template <class Button> struct KvFitButtonStyle;
template <> struct KvFitButtonStyle<QRadioButton> {
    static constexpr QStyle::ControlElement Control = QStyle::CE_RadioButton;
    static constexpr QStyle::SubElement Contents = QStyle::SE_RadioButtonContents;
};
template <> struct KvFitButtonStyle<QCheckBox> {
    static constexpr QStyle::ControlElement Control = QStyle::CE_CheckBox;
    static constexpr QStyle::SubElement Contents = QStyle::SE_CheckBoxContents;
};
template <> struct KvFitButtonStyle<QPushButton> {
    static constexpr QStyle::ControlElement Control = QStyle::CE_PushButton;
    static constexpr QStyle::SubElement Contents = QStyle::SE_PushButtonContents;
};

// A radio button, check box or push button whose text keeps to the button's place whatever the
// language: a translation wider than the room beside the indicator (or inside the bevel) is
// drawn smaller, then cut (KvTextFit), with the whole text as the tool tip. text() stays the
// whole text. A text that fits is drawn by the button itself, exactly as before. GUI thread only.
template <class Button> class KvFitButton : public Button, public KvFittedText {
public:
    explicit KvFitButton(QWidget* parent = nullptr) : Button(parent) {}

    KvTextFit shownText() const override {
        QStyleOptionButton option;
        this->initStyleOption(&option);
        const int room = this->style()
                             ->subElementRect(KvFitButtonStyle<Button>::Contents, &option, this)
                             .width();
        return KvTextFit::fit(this->text(), this->font(), room);
    }

protected:
    void paintEvent(QPaintEvent* event) override {
        const KvTextFit shown = shownText();
        if (!shown.reduced()) {
            Button::paintEvent(event);
            return;
        }
        // As the button paints itself, with the fitted text in the fitted font.
        QStylePainter painter(this);
        QStyleOptionButton option;
        this->initStyleOption(&option);
        option.text = shown.text();
        option.fontMetrics = QFontMetrics(shown.font());
        painter.setFont(shown.font());
        painter.drawControl(KvFitButtonStyle<Button>::Control, option);
    }

    bool event(QEvent* event) override {
        if (event->type() == QEvent::ToolTip &&
            shownText().showWholeTextTip(this, event, this->text())) {
            return true;
        }
        return Button::event(event);
    }
};

using KvFitRadioButton = KvFitButton<QRadioButton>;
using KvFitCheckBox = KvFitButton<QCheckBox>;
using KvFitPushButton = KvFitButton<QPushButton>;
