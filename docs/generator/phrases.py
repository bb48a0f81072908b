"""What each function starts from and what it makes, in words: from its name where the name says it, else from a list."""
import re

from header import Function

KINDS = {
    "Char": "narrow text of given length (`Char`)",
    "Varchar": "narrow text with a length prefix (`Varchar`)",
    "VarcharSz": "narrow text, terminated (`VarcharSz`)",
    "WChar": "wide text of given length (`WChar`)",
    "WVarchar": "wide text with a length prefix (`WVarchar`)",
    "WVarcharSz": "wide text, terminated (`WVarcharSz`)",
}
VALUES = {
    "ULONGLONG": "unsigned 64-bit integer",
    "LongLong": "signed 64-bit integer",
    "UInt": "unsigned 32-bit integer",
    "Int": "signed 32-bit integer",
    "SmallUInt": "unsigned 16-bit integer",
    "SmallInt": "signed 16-bit integer",
    "TinyUInt": "unsigned 8-bit integer",
    "TinyInt": "signed 8-bit integer",
    "Dbl": "double",
    "Flt": "single",
    "DecPacked": "packed decimal",
    "OraVarnum": "VARNUM, not negative",
    "ZVRTDate": "date (`ZVRTDate`)",
    "ZVRTTime": "time of day (`ZVRTTime`)",
    "ZVRTTS": "timestamp (`ZVRTTS`)",
}
# Spellings of a kind in the names of the date and time conversions.
SPELLINGS = {"Sz": "VarcharSz", "WSz": "WVarcharSz", "Wchar": "WChar"}

# Functions whose names do not follow the pattern: what they start from, what they make.
OTHERS = {
    "ZVRTInitDataConversion": ("a process", "code pages ready for use"),
    "ZVRTTermDataConversion": ("a process", "code pages released"),
    "Convert8To32": ("UTF-8, counted", "UTF-32"),
    "Convert8To16": ("UTF-8, counted", "UTF-16"),
    "Convert32To8": ("UTF-32, counted", "UTF-8"),
    "Convert16To8": ("UTF-16, counted", "UTF-8"),
    "Convert16To32": ("UTF-16, counted", "UTF-32"),
    "Convert32To16": ("UTF-32, counted", "UTF-16"),
    "ConvertFrom8": ("one UTF-8 sequence", "its code point"),
    "ConvertTo8": ("one code point", "its UTF-8 sequence"),
    "VerifyCodePageInfo": ("a code page and a vendor letter", "to know whether they mean UTF-8"),
    "ZVRT_MultiByteToWideChar": ("narrow text in a code page, counted", "wide text, no terminator"),
    "ZVRT_WideCharToMultiByte": ("wide text, counted", "narrow text in a code page, no terminator"),
    "TrimSpaces": ("narrow text, terminated, in any code page", "it without blanks at its ends"),
    "TrimSpacesA": ("narrow text, counted, with the blank 20", "it without blanks at its ends"),
    "TrimSpacesW": ("wide text, counted", "it without blanks at its ends"),
    "TrimAllSpacesTabsW": ("wide text, terminated", "it without any blank or tab"),
    "InitializeCharBufferWithSpaces": ("a `Char` field", "it filled with the blank of its code page"),
    "ZVRTCnvIntToWVarcharSz": ("signed 32-bit integer, by value", "wide text, terminated (`WVarcharSz`)"),
    "ZVRTCnvIntToVarcharSz": ("signed 32-bit integer, by value", "narrow text, terminated (`VarcharSz`)"),
    "ZVRTCnvIntToUni": ("signed 32-bit integer, by value, and a printf format", "wide text, terminated (`WVarcharSz`)"),
    "ZVRTCnvVarcharSzToInt": ("narrow field within a record", "signed 32-bit integer"),
    "ZVRTCnvWVarcharSzToInt": ("part of a wide text", "signed 32-bit integer"),
    "ZVRTCnvWVarcharSzToInt2": ("part of a wide text", "signed 32-bit integer and where it ends"),
    "ZVRTCnvCharToInt": ("narrow field with blanks", "unsigned 32-bit integer"),
    "FloatToString": ("double, by value", "wide text with any count of digits"),
    "ConvertBCDToOraVarNum": ("base-100 digits", "VARNUM of either sign"),
    "ZVRTValidateDateTime": ("timestamp, date or time in a `ZVRTTS`", "to know whether it is valid"),
    "ZVRTGetFormatCodes": ("text of a format model", "its tokenised form"),
    "ZVRTTSToWVarcharSz": ("timestamp (`ZVRTTS`) and a tokenised model", "wide text, terminated (`WVarcharSz`)"),
    "ZVRTWVarcharSzToTS": ("wide text and a tokenised model", "timestamp (`ZVRTTS`), not validated"),
    "ZVRTGetNextCodePosInSourceW": ("tokenised model and wide text", "the place after the next literals"),
    "ZVRTGetStringFromTS": ("timestamp (`ZVRTTS`)", "wide text `DD/MM/YYYY hh:mm:ss:ffffff`"),
    "ZVRTGetStringAFromTS": ("timestamp (`ZVRTTS`)", "ASCII text `DD/MM/YYYY hh:mm:ss:ffffff`"),
    "ZVRTDateCharToDate": ("UTF-8 date text, terminated, and the text of its model", "date in a `DateWithModel`"),
    "ZVRTUTF16DateCharToDate": ("UTF-16 date text and the text of its model", "date in a `DateWithModel`"),
}


def word(name: str) -> str:
    name = SPELLINGS.get(name, name)
    if name not in KINDS | VALUES:
        raise SystemExit(f"docs/generator/phrases.py has no words for {name}")
    return KINDS.get(name) or VALUES[name]


def have_and_want(function: Function) -> tuple[str, str]:
    if function.name in OTHERS:
        return OTHERS[function.name]
    match = re.fullmatch(r"ZVRTCnv(\w+?)(?:_Unsigned)?To(\w+?)(?:_Unsigned)?1?(Out)?", function.name)
    if not match:
        raise SystemExit(f"docs/generator/phrases.py has no words for {function.name}")
    source, target = match[1], match[2]
    if source.startswith("DateTime"):
        have = "date text: " + word(source.removeprefix("DateTime"))
    elif "_UnsignedTo" in function.name:
        have = "decimal text: " + word(source)
    else:
        have = word(source)
    return have, word(target) + (", length in bytes" if match[3] else "")
