// The console's own words in the user's language: English, German or French, and English for
// any other language. The string tables are resources/i18n/cli/qvtransfer-cli_*.ts; a text is
// looked up by its id there. In a text, "%n" is a count and "%1" to "%9" are the arguments.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

class QLocale;

namespace qvt::cli {

// Chooses the tables for `locale`. Until it is called, the first text chooses them for the
// process's languages: LANGUAGE's list when it is set, else LC_ALL, LC_MESSAGES or LANG.
void setConsoleLocale(const QLocale& locale);

// The text `id` with its arguments put in; the id itself when no table has it.
std::string consoleText(const char* id, std::initializer_list<std::string> args = {});

// The text `id` in the form its language uses for `count` (French uses the singular for 0 and
// 1, English and German for 1 only), with "%n" the count and then the arguments put in.
std::string consoleCountText(const char* id, std::uint64_t count,
                             std::initializer_list<std::string> args = {});

// Whether `key` answers a yes-or-no question with yes: y, or the language's own letter for yes
// ("j" in German, "o" in French), in either case.
bool isYesKey(char key);

// A number with `decimals` places as the language writes it: "1.1" in English, "1,1" in
// German and French. No thousands separators, as in the sizes and times it is used for.
std::string decimalText(double value, int decimals);

}  // namespace qvt::cli
