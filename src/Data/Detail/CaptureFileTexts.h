// The texts of exceptions that operations on whole capture files share. Private to the library.
#ifndef DCAPKIT_DATA_CAPTUREFILETEXTS_H
#define DCAPKIT_DATA_CAPTUREFILETEXTS_H

namespace Data::CaptureFileTexts {

inline constexpr char kInvalidReader[] = "Cannot read capture file. The data reader is invalid.";
inline constexpr char kHeaderUnreadable[] =
    "Could not read capture file header. The file may be invalid or corrupt.";
inline constexpr char kNotACapture[] =
    "The specified file is not a valid capture file. FourCC does not match DCAP.";
inline constexpr char kBlockHeaderUnreadable[] =
    "Could not read block header. The file may be invalid or corrupt.";
inline constexpr char kInvalidWriter[] =
    "Cannot finalize capture file. The data writer is invalid.";
inline constexpr char kFrameCountUnwritten[] =
    "Cannot finalize capture file. The frame count could not be written to file.";
inline constexpr char kTrailerUnwritten[] =
    "Cannot finalize capture file. The final frame trailer could not be written to file.";
inline constexpr char kFrameSizeUnwritten[] =
    "Cannot finalize capture file. The final frame size could not be written to file.";

}  // namespace Data::CaptureFileTexts

#endif  // DCAPKIT_DATA_CAPTUREFILETEXTS_H
