// Bytes as the cells of a table show them: two digits per byte, capital letters.
#ifndef ZVRT_RECORDS_TABLES_HEXADECIMAL_H
#define ZVRT_RECORDS_TABLES_HEXADECIMAL_H

#include <string>
#include <string_view>

namespace zvrt::records {

std::string hexadecimal(std::string_view bytes);

// Capital and small letters. False where the text is no such digits; `bytes` is then of no use.
bool from_hexadecimal(std::string_view text, std::string& bytes);

}  // namespace zvrt::records

#endif
