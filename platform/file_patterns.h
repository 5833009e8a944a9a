#pragma once
// Files named by a wildcard pattern: "*" may appear in the file-name part only and matches any
// run of characters. Matches are always taken in ascending byte order of their names, so the
// result does not depend on the file system's listing order.
#include <string>
#include <vector>

namespace corvid {

bool wildcardMatch(const std::string& pattern, const std::string& name);
// Full paths (folder part of the pattern + name) of the regular files matching the pattern.
std::vector<std::string> filesMatching(const std::string& pattern);
// Concatenates the matching files, in name order, into target (created or truncated).
// Returns the number of files joined, or -1 when the target cannot be written.
int concatenateMatching(const std::string& pattern, const std::string& target);
// Removes the path, or every file matching the pattern; returns the number removed.
int deleteMatching(const std::string& pattern);

}  // namespace corvid
