#include "KvSettingDialog.h"

#include "KvConfigure.h"
#include "KvFitButton.h"
#include "KvFitComboBox.h"
#include "KvFitLabel.h"
#include "KvLanguage.h"
#include "KvSettingDelegate.h"
#include "KvSettingsKeys.h"
#include "KvVersion.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>

#include <algorithm>

namespace {
constexpr int kInitialWidth = 550;
constexpr int kInitialHeight = 300;
const char* const OkButtonStyle =
    "QPushButton{background:#19a4ff;border-radius:5px;color:#ffffff;};";
const char* const LabelStyle = "color:#ffffff";
const char* const MapsLabelStyle = "color:#ffffff;";
// Two spaces before "white": the dialog has always carried this sheet as it is.
const char* const DialogStyle = "QDialog{background:#757575;border: 2px solid  white;}";
// The languages the box offers, in its order.
const char* const LanguageNames[] = {"english", "chinese", "french",     "german",
                                     "italian", "polish",  "portuguese", "spanish"};
// The radio buttons' ids in their groups: the first button of each pair is 0.
constexpr int FirstId = 0;
constexpr int SecondId = 1;
// The stored values of the correction switch.
constexpr int CorrectionOn = 1;
constexpr int CorrectionOff = 0;
} // namespace

KvSettingDialog::KvSettingDialog(QWidget* parent, Qt::WindowFlags flags)
    : QDialog(parent, flags), _versionLabel(new KvFitLabel(this)),
      _languageLabel(new KvFitLabel(this)), _languageBox(new KvFitComboBox(this)),
      _mapsLabel(new KvFitLabel(this)), _mapGroup(new QButtonGroup(this)),
      _baiduButton(new KvFitRadioButton(this)), _googleButton(new KvFitRadioButton(this)),
      _speedLabel(new KvFitLabel(this)), _speedGroup(new QButtonGroup(this)),
      _kmhButton(new KvFitRadioButton(this)), _mphButton(new KvFitRadioButton(this)),
      _correctionLabel(new KvFitLabel(this)), _correctionGroup(new QButtonGroup(this)),
      _correctionButton(new KvFitRadioButton(this)),
      _noCorrectionButton(new KvFitRadioButton(this)), _okButton(new KvFitPushButton(this)) {
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    _setupLooks();
    _mapGroup->setExclusive(true);
    _mapGroup->addButton(_baiduButton, FirstId);
    _mapGroup->addButton(_googleButton, SecondId);
    _speedGroup->setExclusive(true);
    _speedGroup->addButton(_kmhButton, FirstId);
    _speedGroup->addButton(_mphButton, SecondId);
    _correctionGroup->setExclusive(true);
    _correctionGroup->addButton(_correctionButton, FirstId);
    _correctionGroup->addButton(_noCorrectionButton, SecondId);
    _fillLanguageBox();
    _connectSignals();
    resize(kInitialWidth, kInitialHeight);
    loadConfigures();
    reloadLanguage();
    setStyleSheet(QLatin1String(DialogStyle));
}

KvSettingDialog::~KvSettingDialog() {
    // Destroying the settings accessor writes the file.
    delete _settings;
}

void KvSettingDialog::_setupLooks() {
    _versionLabel->setText(QLatin1String(KV_VERSION_TEXT));
    _okButton->setText(KvLanguage::kvtr("OK"));
    _okButton->setStyleSheet(QLatin1String(OkButtonStyle));
    for (QLabel* label :
         {_versionLabel, _languageLabel, _mapsLabel, _speedLabel, _correctionLabel}) {
        label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    }
    for (QLabel* label : {_versionLabel, _languageLabel, _speedLabel, _correctionLabel}) {
        label->setStyleSheet(QLatin1String(LabelStyle));
    }
    _mapsLabel->setStyleSheet(QLatin1String(MapsLabelStyle));
}

void KvSettingDialog::_fillLanguageBox() {
    _languageBox->clear();
    _languageNames.clear();
    for (const char* name : LanguageNames) {
        _languageBox->addItem(KvLanguage::kvtr(QLatin1String(name)));
        _languageNames.append(QLatin1String(name));
    }
}

void KvSettingDialog::_connectSignals() {
    connect(_baiduButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckMap);
    connect(_googleButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckMap);
    connect(_kmhButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckSpeed);
    connect(_mphButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckSpeed);
    connect(_correctionButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckGPS);
    connect(_noCorrectionButton, &QRadioButton::clicked, this, &KvSettingDialog::onCheckGPS);
    connect(_languageBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &KvSettingDialog::onSelectedLanguageIndex);
    connect(_okButton, &QPushButton::clicked, this, &KvSettingDialog::onClickOkButton);
}

void KvSettingDialog::setSettingDelegate(KvSettingDelegate* delegate) {
    _delegate = delegate;
}

void KvSettingDialog::loadConfigures() {
    delete _settings;
    _settings = new KvConfigure();
    const QString language =
        _settings->getString(KvSettingsKeys::Language, KvSettingsKeys::FallbackLanguage);
    // A stored name that is not offered shows as English; the stored value stays.
    const int index = std::max(0, _languageNames.indexOf(language));
    _languageBox->setCurrentIndex(index);
    if (_settings->getInt(KvSettingsKeys::Map, KvSettingsKeys::FallbackMap) == KvMapBaidu) {
        _baiduButton->setChecked(true);
    } else {
        _googleButton->setChecked(true);
    }
    if (_settings->getInt(KvSettingsKeys::Speed, KvSettingsKeys::FallbackDialogSpeed) ==
        KvSettingsKeys::SpeedMph) {
        _mphButton->setChecked(true);
    } else {
        _kmhButton->setChecked(true);
    }
    if (_settings->getInt(KvSettingsKeys::GPSCorrection, KvSettingsKeys::FallbackGPSCorrection) !=
        0) {
        _correctionButton->setChecked(true);
    } else {
        _noCorrectionButton->setChecked(true);
    }
}

void KvSettingDialog::reloadLanguage() {
    for (int i = 0; i < _languageNames.size() && i < _languageBox->count(); ++i) {
        _languageBox->setItemText(i, KvLanguage::kvtr(_languageNames.at(i)));
    }
    _languageLabel->setText(KvLanguage::kvtr("language"));
    _mapsLabel->setText(KvLanguage::kvtr("maps"));
    _baiduButton->setText(KvLanguage::kvtr("baidu_map"));
    _googleButton->setText(KvLanguage::kvtr("google_map"));
    _speedLabel->setText(KvLanguage::kvtr("speed_unit"));
    _kmhButton->setText(KvLanguage::kvtr("KM/H"));
    _mphButton->setText(KvLanguage::kvtr("MPH"));
    _correctionLabel->setText(KvLanguage::kvtr("gps_correction"));
    _correctionButton->setText(KvLanguage::kvtr("correction"));
    _noCorrectionButton->setText(KvLanguage::kvtr("no_correction"));
}

void KvSettingDialog::_writeInt(const QString& key, int value) {
    // A short-lived accessor writes the file when it goes, so the file holds the new value
    // before the delegate is told; the dialog's own accessor sees it too.
    KvConfigure writer;
    writer.setInt(key, value);
}

void KvSettingDialog::_writeString(const QString& key, const QString& value) {
    KvConfigure writer;
    writer.setString(key, value);
}

void KvSettingDialog::onCheckMap() {
    const int map = _googleButton->isChecked() ? KvMapGoogle : KvMapBaidu;
    _writeInt(KvSettingsKeys::Map, map);
    if (_delegate) {
        _delegate->onSwitchMap(static_cast<_KvMapType>(map));
    }
}

void KvSettingDialog::onCheckSpeed() {
    const int unit = _mphButton->isChecked() ? KvSettingsKeys::SpeedMph : KvSettingsKeys::SpeedKmh;
    _writeInt(KvSettingsKeys::Speed, unit);
    if (_delegate) {
        _delegate->onSwitchSpeedUnit(unit);
    }
}

void KvSettingDialog::onCheckGPS() {
    const int on = _noCorrectionButton->isChecked() ? CorrectionOff : CorrectionOn;
    _writeInt(KvSettingsKeys::GPSCorrection, on);
    if (_delegate) {
        _delegate->onSwitchLocationCorrection(on);
    }
}

void KvSettingDialog::onSelectedLanguageIndex(int index) {
    if (index >= 0 && index < _languageNames.size()) {
        const QString name = _languageNames.at(index);
        _writeString(KvSettingsKeys::Language, name);
        // The delegate installs the language before the dialog reads its own texts again.
        if (_delegate) {
            _delegate->onSwitchLanguage(name);
        }
    }
    reloadLanguage();
}

void KvSettingDialog::onClickOkButton(bool checked) {
    Q_UNUSED(checked);
    accept();
}

void KvSettingDialog::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void KvSettingDialog::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        accept();
        return;
    }
    QDialog::keyReleaseEvent(event);
}

void KvSettingDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    const int w = width();
    _versionLabel->setGeometry(0, 0, w - 30, 30);
    _languageLabel->setGeometry(0, 35, 150, 30);
    _languageBox->setGeometry(179, 35, 100, 30);
    _mapsLabel->setGeometry(0, 75, 150, 20);
    _baiduButton->setGeometry(179, 75, 150, 20);
    _googleButton->setGeometry(348, 75, 150, 20);
    _speedLabel->setGeometry(0, 105, 150, 20);
    _kmhButton->setGeometry(179, 105, 150, 20);
    _mphButton->setGeometry(348, 105, 150, 20);
    _correctionLabel->setGeometry(0, 135, 150, 20);
    _correctionButton->setGeometry(179, 135, 150, 20);
    _noCorrectionButton->setGeometry(348, 135, 150, 20);
    _okButton->setGeometry((w - 150) / 2, 215, 150, 30);
}
