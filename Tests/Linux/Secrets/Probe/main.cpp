// secret-store-probe <folder> <account> store|load|remove: one operation of the secret store, in a process of
// its own, as a session bus can be chosen only once in a process's life. A secret to store is read from the
// input.

#include <iostream>
#include <string>
#include <vector>

#include "Linux/Secrets/LinuxSecretStore.h"

int main(int count, char** words) {
  using namespace quillant;
  const std::vector<std::string> arguments(words + 1, words + count);
  const auto store = LinuxSecretStore::make(
      {.folder = arguments.at(0),
       .notice = [](const std::string& line) { std::cout << "notice: " << line << "\n"; },
       .timeLimit = std::chrono::seconds(2)});
  const SecretName name{"com.quillant.desktop", arguments.at(1)};
  try {
    if (arguments.at(2) == "store") {
      std::string secret;
      std::getline(std::cin, secret);
      runBlocking(store->store(name, secret));
      std::cout << "stored\n";
    } else if (arguments.at(2) == "load") {
      const auto secret = runBlocking(store->load(name));
      std::cout << (secret ? "found: " + *secret : "nothing") << "\n";
    } else {
      runBlocking(store->remove(name));
      std::cout << "removed\n";
    }
  } catch (const SecretStoreError& error) {
    std::cout << "error: " << error.what() << "\n";
  }
}
