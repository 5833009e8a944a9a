#pragma once
// Parameter files of "key = value" lines, and the commented template left behind when the
// program starts without arguments.
#include <ctime>
#include <string>

#include "startup/parameter_table.h"

namespace corvid {

inline constexpr const char* kInvalidKey = "Corvid found invalid key in config file!";

// A new table: the defaults, then every line of the file. A missing file prints
// "[Error] The file "<path>" does not exist! " and throws that message.
ParameterTable readParameterFile(const std::string& path);

// Removes leading and trailing blanks (the space character only); throws kInvalidKey when the
// text is empty or all blanks.
void trimBlanks(std::string& text);

// "Corvid" + year month day hour minute second (no leading zeros) + ".para".
std::string templateFileName(const std::tm& localTime);
// The template's text with "\n" line ends (written with CR LF).
std::string parameterTemplateText();
// Writes the template into the working folder unless a file of that name already exists.
void writeParameterTemplate();

}  // namespace corvid
