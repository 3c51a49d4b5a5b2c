// A matcher for a whole text against a regular expression in ECMAScript
// syntax, the same on every system (GoogleTest's own regular expressions
// are a much smaller language on Windows).
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace xsetest {

MATCHER_P(MatchesRegex, pattern,
          std::string(negation ? "doesn't match" : "matches") + " regular expression " +
              ::testing::PrintToString(std::string(pattern))) {
  return std::regex_match(std::string(arg), std::regex(std::string(pattern)));
}

}  // namespace xsetest
