#pragma once

// The codes of the player core's status callback (KvPlayerCallback), the one vocabulary the
// core, the two-channel player and the window share.
namespace KvPlayerStatus {

// Never sent by the player core; the window handles it all the same (pause look).
constexpr int Paused = 0;
// The pictures ran out after the end of the file: the recording played to its end.
constexpr int EndOfFile = 1;
// The pictures ran out for another reason: a read error, or decoding stopped.
constexpr int RanDry = 2;
// A picture was shown; the callback carries its position and the file's duration.
constexpr int PictureShown = 3;

} // namespace KvPlayerStatus
