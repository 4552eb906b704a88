#pragma once

#include <QFileInfo>
#include <QString>

class KvVideoInfo;

// The rules that turn one clip file into a playlist entry: which files are clips, which camera
// filmed a clip, where its partner from the other camera lies, and which folders a scan skips.
// A front clip lies in a folder whose path ends with "F", a rear clip in one ending with "R"; the
// partner lies in the sibling folder named exactly "R" or "F". Stateless, so any thread may use
// it; the scan's worker thread does.
class KvCameraPairing {
public:
    // A clip the player opens: ".mp4", ".avi" or ".mov" in any letter case.
    static bool isSupportsFile(const QString& path);
    // The scanners' narrower, case-sensitive test: ".mp4", ".MP4", ".avi", ".AVI", ".mov" or
    // ".MOV" exactly (so CLIP.Mp4 is supported but never found by a scan, on purpose).
    static bool isScannedFile(const QString& name);
    static bool isFrontVideo(const QString& path);
    static bool isRearVideo(const QString& path);
    // Where the other camera's clip would lie; empty when no file exists at path or the clip
    // lies in no camera folder. Whether the partner exists is not checked.
    static QString findOtherVideo(const QString& path);
    // Builds the entry of the clip at path, front clip first, named after the clip given.
    // Always 0: callers treat a negative result as "not a recording".
    static int convertFile(const QString& path, KvVideoInfo* info);
    // Folders a scan never enters: names ending with "." (".", "..") or starting with "$" (a
    // card's recycle bin and other system folders).
    static bool isSpecialDirectory(const QFileInfo& info);
};
