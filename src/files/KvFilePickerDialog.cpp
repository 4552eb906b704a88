#include "KvFilePickerDialog.h"

#include "KvConfigure.h"
#include "KvLanguage.h"
#include "KvLogCategories.h"
#include "KvSettingsKeys.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QStandardPaths>

namespace {
constexpr int kInitialWidth = 700;
constexpr int kInitialHeight = 220;
// The file and folder choosers' size.
constexpr int kChooserWidth = 240;
constexpr int kChooserHeight = 320;
const char* const ClipNameFilter = "*.mp4 *.mov *.avi *.MP4 *.MOV *.AVI";
const char* const PathLabelStyle =
    "border-width: 1px;border-style: solid;border-color: rgb(200, 200, 200);";

// The first chooser each button opens in the process starts on the desktop; later ones are not
// given a folder. One flag per button, for the life of the process; GUI thread only.
bool g_fileChooserFirstTime = true;
bool g_directoryChooserFirstTime = true;
} // namespace

KvFilePickerDialog::KvFilePickerDialog(QWidget* parent)
    : QDialog(parent), _buttonGroup(new QButtonGroup(this)), _drivesRadio(new QRadioButton(this)),
      _filesRadio(new QRadioButton(this)), _directoryRadio(new QRadioButton(this)),
      _driveBox(new QComboBox(this)), _fileButton(new QPushButton(this)),
      _directoryButton(new QPushButton(this)), _fileLabel(new QLabel(this)),
      _directoryLabel(new QLabel(this)), _okButton(new QPushButton(this)),
      _cancelButton(new QPushButton(this)) {
    _setup();
    resize(kInitialWidth, kInitialHeight);
}

KvFilePickerDialog::~KvFilePickerDialog() {
    _clearDialog();
}

void KvFilePickerDialog::_setup() {
    setWindowFlags(Qt::Dialog | Qt::WindowCloseButtonHint);
    fillDriveBox(KvVolume::mountedVolumes());

    _buttonGroup->addButton(_drivesRadio, DrivesId);
    _buttonGroup->addButton(_filesRadio, FilesId);
    _buttonGroup->addButton(_directoryRadio, DirectoryId);

    const int index = KvConfigure().getInt(KvSettingsKeys::SelectFileIndex, DrivesId);
    if (index == FilesId) {
        _filesRadio->setChecked(true);
    } else if (index == DirectoryId) {
        _directoryRadio->setChecked(true);
    } else {
        _drivesRadio->setChecked(true);
    }

    _drivesRadio->setText(KvLanguage::kvtr("drives"));
    _filesRadio->setText(KvLanguage::kvtr("files"));
    _directoryRadio->setText(KvLanguage::kvtr("directory"));
    _fileButton->setText(KvLanguage::kvtr("..."));
    _directoryButton->setText(KvLanguage::kvtr("..."));
    _okButton->setText(KvLanguage::kvtr("ok"));
    _cancelButton->setText(KvLanguage::kvtr("cancel"));
    for (QLabel* label : {_fileLabel, _directoryLabel}) {
        label->setFrameShape(QFrame::Box);
        label->setStyleSheet(QLatin1String(PathLabelStyle));
    }

    connect(_fileButton, &QPushButton::clicked, this, &KvFilePickerDialog::_onClickFileButton);
    connect(_directoryButton, &QPushButton::clicked, this,
            &KvFilePickerDialog::_onClickDirectoryButton);
    connect(_okButton, &QPushButton::clicked, this, &KvFilePickerDialog::_onClickOkButton);
    connect(_cancelButton, &QPushButton::clicked, this, &KvFilePickerDialog::_onClickCancelButton);
    // idClicked is the buttonClicked(int) of Qt 5.15: the id of a button the user clicked.
    connect(_buttonGroup, &QButtonGroup::idClicked, this,
            &KvFilePickerDialog::_onGroupButtonClicked);
    connect(_driveBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &KvFilePickerDialog::_onDriveBoxIndexChanged);
    setWindowTitle(KvLanguage::kvtr("select_files"));
}

void KvFilePickerDialog::fillDriveBox(const QList<KvVolume>& mounted) {
    // Refilling is not a choice of the user: the box's signals stay quiet.
    const QSignalBlocker blocker(_driveBox);
    _driveBox->clear();
    QStringList drives;
    for (const QFileInfo& drive : QDir::drives()) {
        if (!drive.absolutePath().isEmpty()) {
            drives.append(drive.absolutePath());
        }
    }
    for (const KvVolume& volume : KvVolume::pickerVolumes(drives, mounted)) {
        _driveBox->addItem(volume.itemPath());
        _driveBox->setItemData(_driveBox->count() - 1, volume.toolTip(), Qt::ToolTipRole);
    }
}

int KvFilePickerDialog::showModes() {
    return exec();
}

int KvFilePickerDialog::getType() {
    return _type;
}

QString KvFilePickerDialog::getSelectedPath() {
    if (_type == KindFile) {
        _selectedPath = _fileLabel->text();
    } else if (_type == KindDrive) {
        _selectedPath = _driveBox->currentText();
    } else {
        _selectedPath = _directoryLabel->text();
    }
    return _selectedPath;
}

QFileDialog* KvFilePickerDialog::getFileDialog() {
    return _fileDialog;
}

void KvFilePickerDialog::_clearDialog() {
    _type = KindNone;
    delete _fileDialog;
    _fileDialog = nullptr;
}

void KvFilePickerDialog::_onClickFileButton(bool checked) {
    Q_UNUSED(checked);
    _type = KindFile;
    _filesRadio->setChecked(true);
    _clearDialog();
    _runChooser(false, _fileLabel);
}

void KvFilePickerDialog::_onClickDirectoryButton(bool checked) {
    Q_UNUSED(checked);
    _type = KindDirectory;
    _directoryRadio->setChecked(true);
    _clearDialog();
    _runChooser(true, _directoryLabel);
}

void KvFilePickerDialog::_runChooser(bool folders, QLabel* label) {
    _fileDialog = new QFileDialog(this, QString(), QString(), QString());
    _fileDialog->resize(kChooserWidth, kChooserHeight);
    if (folders) {
        _fileDialog->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot);
        _fileDialog->setFileMode(QFileDialog::Directory);
        _fileDialog->setOption(QFileDialog::ShowDirsOnly, true);
    } else {
        // Clip files are shown; folders too, so that the user can walk to a card.
        _fileDialog->setFilter(QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot);
        _fileDialog->setNameFilter(QLatin1String(ClipNameFilter));
        _fileDialog->setFileMode(QFileDialog::ExistingFiles);
    }
    _fileDialog->setViewMode(QFileDialog::List);
    bool& firstTime = folders ? g_directoryChooserFirstTime : g_fileChooserFirstTime;
    if (firstTime) {
        firstTime = false;
        _fileDialog->setDirectory(
            QStandardPaths::writableLocation(QStandardPaths::DesktopLocation));
    }
    const QStringList chosen =
        _fileDialog->exec() == QDialog::Accepted ? _fileDialog->selectedFiles() : QStringList();
    label->setText(chosen.isEmpty() ? QString() : chosen.first());
}

void KvFilePickerDialog::_onClickOkButton(bool checked) {
    Q_UNUSED(checked);
    const int id = _buttonGroup->checkedId();
    qCDebug(kvFiles, "_onClickOkButton(%d)", id);
    if (id == DrivesId) {
        _type = KindDrive;
        _selectedPath = _driveBox->currentText();
    } else if (id == FilesId) {
        _type = KindFile;
        _selectedPath = _fileLabel->text();
    } else {
        _type = KindDirectory;
        _selectedPath = _directoryLabel->text();
    }
    // An empty path is accepted too: the main window then finds nothing to add.
    accept();
}

void KvFilePickerDialog::_onClickCancelButton(bool checked) {
    Q_UNUSED(checked);
    reject();
}

void KvFilePickerDialog::_onGroupButtonClicked(int id) {
    KvConfigure().setInt(KvSettingsKeys::SelectFileIndex, id);
    if (id == FilesId) {
        _type = KindFile;
        _selectedPath = _fileLabel->text();
    } else if (id == DrivesId) {
        _type = KindDrive;
        _selectedPath = _driveBox->currentText();
    } else if (id == DirectoryId) {
        // Kind 2 (drive) for the folder button is what the player has always reported before
        // OK; OK sets the final kind from the checked button.
        _type = KindDrive;
        _selectedPath = _directoryLabel->text();
    }
}

void KvFilePickerDialog::_onDriveBoxIndexChanged(int index) {
    _drivesRadio->setChecked(true);
    _type = KindDrive;
    _selectedPath = _driveBox->itemText(index);
}

void KvFilePickerDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    _resize(width(), height());
}

void KvFilePickerDialog::_resize(int w, int h) {
    // Rectangles by their inclusive corners: left, top, right, bottom.
    auto place = [](QWidget* widget, int left, int top, int right, int bottom) {
        widget->setGeometry(QRect(QPoint(left, top), QPoint(right, bottom)));
    };
    place(_drivesRadio, 15, 40, 114, 64);
    place(_filesRadio, 15, 80, 114, 104);
    place(_directoryRadio, 15, 120, 114, 144);
    place(_driveBox, 200, 40, 399, 64);
    place(_fileLabel, 200, 80, w - 161, 104);
    place(_directoryLabel, 200, 120, w - 161, 144);
    place(_fileButton, w - 155, 80, w - 106, 104);
    place(_directoryButton, w - 155, 120, w - 106, 144);
    place(_okButton, w - 230, h - 35, w - 131, h - 11);
    place(_cancelButton, w - 120, h - 35, w - 21, h - 11);
}
