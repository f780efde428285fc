// Names on a share: the characters SMB does not allow in a name, written reversibly.
#pragma once

#include <string>

namespace qvt::platform::smb {

// A name as it is written on a share. SMB refuses `" * : < > ? \ |` and the control
// characters anywhere in a name, and a blank or a dot at its end; each of them is written as a
// character of Unicode's private-use area instead:
//
//   U+0001..U+001F  ->  U+F001..U+F01F
//   "  ->  U+F020     *  ->  U+F021     :  ->  U+F022     <  ->  U+F023
//   >  ->  U+F024     ?  ->  U+F025     \  ->  U+F026     |  ->  U+F027
//   a blank at the end  ->  U+F028       a dot at the end  ->  U+F029
//
// A server set up to translate that table back (Samba's catia module with
// "catia:mappings = 0x01:0xf001, ..., 0x22:0xf020, 0x2a:0xf021, 0x3a:0xf022, 0x3c:0xf023,
// 0x3e:0xf024, 0x3f:0xf025, 0x5c:0xf026, 0x7c:0xf027") shows the name the user gave; any other
// server keeps the mapped name, which this program reads back as the original.
std::string toShareName(const std::string& name);
// The name a share listed, with the table above undone. A listed name that holds the
// private-use characters of the table is read as the name they stand for.
std::string fromShareName(const std::string& name);

// Whether `text` is well-formed UTF-8 (what an SMB name must be: it travels as UTF-16).
bool isValidUtf8(const std::string& text);

}  // namespace qvt::platform::smb
