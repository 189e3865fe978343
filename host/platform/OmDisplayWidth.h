// How the text export counts the width of text on screen. A setting of the
// export options and of the string folder; the measuring itself is done by
// the folder layer.
#pragma once

// Bytes: one display position per byte in the host's encoding, the host's
// own measure and the default. Columns: terminal columns of UTF-8 text (East
// Asian wide and fullwidth characters 2, combining marks and zero-width
// characters 0, every other character 1); in the single-byte and double-byte
// encodings it measures bytes, as Bytes does.
enum class OmDisplayWidth { Bytes, Columns };
