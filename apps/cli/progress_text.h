// Texts of the console's progress line and its summaries.
#pragma once

#include <cstdint>
#include <string>

namespace qvt::cli {

// These texts are in the console's language (console_texts.h); the examples are English.

// A byte count as a person reads it: whole bytes below a kilobyte, then one decimal in
// decimal units ("0 bytes", "1 byte", "999 bytes", "1.0 KB", "12.3 MB", "1.1 GB").
std::string progressBytesText(std::uint64_t bytes);

// What the sources hold: "1 file, 3 bytes", "2 folders, 14 files, 3.2 MB".
std::string sourcesText(std::uint64_t folders, std::uint64_t files, std::uint64_t bytes);

// A bar of 20 cells and the percentage of `done` in `total`: "[#########-----------]  45%".
// Nothing to do counts as all done.
std::string progressBar(std::uint64_t done, std::uint64_t total);

// A duration as people write it: "0.6 s", "12 s", "3 min 5 s", "2 h 4 min".
std::string durationText(double seconds);

// `text` (a file name, or a sentence that holds one) as it can be printed on a terminal: its
// control characters written as escapes ("\n", "\t", "\x1b", "\u009b"), so that a name cannot
// move the cursor, clear the screen or start a line of its own. `keepLineBreaks` leaves "\n"
// as it is, for a message whose own lines are meant.
std::string printableText(const std::string& text, bool keepLineBreaks = false);

}  // namespace qvt::cli
