// Numbers in the text of a column, as correctly rounded doubles.
#pragma once

namespace zvrt {

// What the library accepts as the text of a number: an optional sign, then digits, points, and E or e with an optional
// sign behind it, in any order; of that, the longest beginning that is a number counts. The result is NaN for text with
// other characters in it, for text that does not begin with a number, and for a number that is not 0 and rounds to 0.
// Text without a digit other than 0 is +0.0, whatever its form. Beyond the largest double the value is infinite.
double read_double(const void* wide_text);

}  // namespace zvrt
