// callback-hand-over <url>: what the program itself does when the desktop starts it with a callback.

#include "Linux/Desktop/CallbackHandOver.h"

int main(int count, char** words) {
  const std::vector<std::string> arguments(words, words + count);
  quillant::CallbackHandOver::eraseFromArguments(count, words);
  return quillant::CallbackHandOver::shouldRun(arguments) ? quillant::CallbackHandOver::run(arguments) : 64;
}
