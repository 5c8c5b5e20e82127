// Runs a program of the project as a user would, and keeps what came of it.
#pragma once

#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tests/support/temp_dir.h"

namespace krtest {

struct Outcome {
  int status = -1;  // exit status; -1 for a program that was killed
  std::string out;
  std::string err;
};

// `directory` is the current directory of the run, `input` its standard input.
inline Outcome Run(const std::string& program, const std::vector<std::string>& arguments,
                   const std::string& directory = ".", const std::string& input = "") {
  const auto quoted = [](const std::string& text) {
    std::string result = "'";
    for (char c : text) {
      result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + '\'';
  };
  TempDir streams;
  WriteBytes(streams.file("in"), input);
  std::string command = "cd " + quoted(directory) + " && " + quoted(program);
  for (const std::string& argument : arguments) {
    command += ' ' + quoted(argument);
  }
  command += " <" + quoted(streams.file("in")) + " >" + quoted(streams.file("out")) + " 2>" +
             quoted(streams.file("err"));
  const int status = std::system(command.c_str());
  Outcome outcome;
  outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.out = ReadBytes(streams.file("out"));
  outcome.err = ReadBytes(streams.file("err"));
  return outcome;
}

}  // namespace krtest
