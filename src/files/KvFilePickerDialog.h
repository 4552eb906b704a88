#pragma once

#include "KvVolume.h"

#include <QDialog>
#include <QList>
#include <QString>

class QButtonGroup;
class QComboBox;
class QFileDialog;
class QLabel;
class QPushButton;
class QRadioButton;

// The main window's "open" dialog: one of three sources, a drive (memory card or volume) from a
// list, one clip file, or one folder. After acceptance the main window reads the kind and the
// path. The radio button the user last clicked is remembered in "SelectFileIndexKey". Created on
// the stack for one use; GUI thread only.
class KvFilePickerDialog : public QDialog {
    Q_OBJECT
public:
    // What getType() reports. They differ from the radio buttons' ids on purpose: the main
    // window dispatches on these.
    enum Kind { KindNone = -1, KindFile = 0, KindDirectory = 1, KindDrive = 2 };
    // The radio buttons' ids in the group, which are also the values of "SelectFileIndexKey".
    enum ButtonId { DrivesId = 0, FilesId = 1, DirectoryId = 2 };

    explicit KvFilePickerDialog(QWidget* parent = nullptr);
    ~KvFilePickerDialog() override;

    // Runs the dialog modally; 1 when accepted with OK.
    int showModes();
    int getType();
    // Recomputed from the widgets for the current kind.
    QString getSelectedPath();
    // The chooser opened last, or null.
    QFileDialog* getFileDialog();
    // Fills the drive list again from the drive roots and the volumes handed in (see
    // KvVolume::pickerVolumes); the dialog's own setup uses the system's volumes. Each item's
    // text is the path; its tooltip names the volume and its size.
    void fillDriveBox(const QList<KvVolume>& mounted);

    QButtonGroup* buttonGroup() const { return _buttonGroup; }
    QRadioButton* drivesRadio() const { return _drivesRadio; }
    QRadioButton* filesRadio() const { return _filesRadio; }
    QRadioButton* directoryRadio() const { return _directoryRadio; }
    QComboBox* driveBox() const { return _driveBox; }
    QPushButton* fileButton() const { return _fileButton; }
    QPushButton* directoryButton() const { return _directoryButton; }
    QLabel* fileLabel() const { return _fileLabel; }
    QLabel* directoryLabel() const { return _directoryLabel; }
    QPushButton* okButton() const { return _okButton; }
    QPushButton* cancelButton() const { return _cancelButton; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private slots:
    void _onClickFileButton(bool checked);
    void _onClickDirectoryButton(bool checked);
    void _onClickOkButton(bool checked);
    void _onClickCancelButton(bool checked);
    void _onGroupButtonClicked(int id);
    void _onDriveBoxIndexChanged(int index);

private:
    void _setup();
    void _resize(int w, int h);
    void _clearDialog();
    // Opens a fresh chooser for a file or a folder and shows its answer in label.
    void _runChooser(bool folders, QLabel* label);

    // All children of the dialog.
    QButtonGroup* _buttonGroup;
    QRadioButton* _drivesRadio;
    QRadioButton* _filesRadio;
    QRadioButton* _directoryRadio;
    QComboBox* _driveBox;
    QPushButton* _fileButton;
    QPushButton* _directoryButton;
    QLabel* _fileLabel;
    QLabel* _directoryLabel;
    QPushButton* _okButton;
    QPushButton* _cancelButton;
    QFileDialog* _fileDialog = nullptr; // owned (child), the chooser opened last
    int _type = KindNone;
    QString _selectedPath;
};
