#pragma once

#include <QDialog>
#include <QStringList>

class KvConfigure;
class KvSettingDelegate;
class QButtonGroup;
class QComboBox;
class QLabel;
class QPushButton;
class QRadioButton;

// The settings dialog: language, map service, speed unit and location correction. There is no
// Apply and no Cancel: every change is written to the settings file at once and then reported to
// the delegate, which applies it live. The captions, choices, the language box and OK keep their
// places in every language: a longer translation is drawn smaller, then cut, with the whole of it
// as the tool tip (KvFitLabel, KvFitButton, KvFitComboBox); their texts stay whole. Lives for one
// modal run; GUI thread only.
class KvSettingDialog : public QDialog {
    Q_OBJECT
public:
    explicit KvSettingDialog(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~KvSettingDialog() override;

    // Not owned; may be null.
    void setSettingDelegate(KvSettingDelegate* delegate);
    // Shows the stored settings. Checks buttons programmatically, so no delegate hears of it.
    void loadConfigures();
    void reloadLanguage();

    QLabel* versionLabel() const { return _versionLabel; }
    QLabel* languageLabel() const { return _languageLabel; }
    QComboBox* languageBox() const { return _languageBox; }
    QLabel* mapsLabel() const { return _mapsLabel; }
    QRadioButton* baiduButton() const { return _baiduButton; }
    QRadioButton* googleButton() const { return _googleButton; }
    QLabel* speedLabel() const { return _speedLabel; }
    QRadioButton* kmhButton() const { return _kmhButton; }
    QRadioButton* mphButton() const { return _mphButton; }
    QLabel* correctionLabel() const { return _correctionLabel; }
    QRadioButton* correctionButton() const { return _correctionButton; }
    QRadioButton* noCorrectionButton() const { return _noCorrectionButton; }
    QPushButton* okButton() const { return _okButton; }
    const QStringList& languageNames() const { return _languageNames; }

public slots:
    void onCheckMap();
    void onCheckSpeed();
    void onCheckGPS();
    void onSelectedLanguageIndex(int index);
    void onClickOkButton(bool checked);

protected:
    void resizeEvent(QResizeEvent* event) override;
    // Escape closes the dialog by accepting it: there is nothing to undo.
    void keyReleaseEvent(QKeyEvent* event) override;
    // Keeps Escape's press from rejecting the dialog before its release accepts it.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void _setupLooks();
    void _fillLanguageBox();
    void _connectSignals();
    // Writes one setting to the file at once, before anyone is told of it.
    void _writeInt(const QString& key, int value);
    void _writeString(const QString& key, const QString& value);

    KvSettingDelegate* _delegate = nullptr; // not owned
    KvConfigure* _settings = nullptr;       // owned, made by loadConfigures
    // Children of the dialog.
    QLabel* _versionLabel;
    QLabel* _languageLabel;
    QComboBox* _languageBox;
    QLabel* _mapsLabel;
    QButtonGroup* _mapGroup;
    QRadioButton* _baiduButton;
    QRadioButton* _googleButton;
    QLabel* _speedLabel;
    QButtonGroup* _speedGroup;
    QRadioButton* _kmhButton;
    QRadioButton* _mphButton;
    QLabel* _correctionLabel;
    QButtonGroup* _correctionGroup;
    QRadioButton* _correctionButton;
    QRadioButton* _noCorrectionButton;
    // Index i is the language of the box's entry i.
    QStringList _languageNames;
    QPushButton* _okButton;
};
