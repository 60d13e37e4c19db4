// The constants of the recording file format shared by its writer and its reader.
#pragma once

#include <QtGlobal>

namespace demo {

inline constexpr char recordingMagic[] = "ZALREC";
inline constexpr int recordingMagicSize = 6;
inline constexpr quint16 recordingVersion = 1;

}  // namespace demo
