#pragma once

// The line order of an image in memory.
// Thread-safe: a plain enumeration.

namespace Tarpo {

enum EImageOrientation
{
    TopDown = 0, // the first line in memory is the top line of the image
    BottomUp = 1 // the first line in memory is the bottom line (as Windows bitmaps store it)
};

} // namespace Tarpo
