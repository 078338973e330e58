#include "tools/FakeService/Misbehaviour.h"

#include <chrono>
#include <string>

#include "Core/JSON.h"

namespace quillant {

namespace {

constexpr std::size_t hugeSize = 10'000'000;

std::string errorBody(const FakeServiceFault& fault) {
  Json body = Json::object();
  if (fault.message) body["error"] = *fault.message;
  if (fault.code) body["code"] = *fault.code;
  return JSON::compact(body);
}

Task<> drip(LoopbackExchange& exchange) {
  co_await exchange.write("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n\r\n{\"id\": \"");
  for (;;) {
    co_await exchange.write("x");
    co_await sleepFor(std::chrono::milliseconds(20));
  }
}

Task<> sendHeadersWithoutEnd(LoopbackExchange& exchange) {
  const std::string line = "X-More: " + std::string(4000, 'x') + "\r\n";
  co_await exchange.write("HTTP/1.1 200 OK\r\n");
  for (;;) co_await exchange.write(line);
}

}  // namespace

Task<> Misbehaviour::perform(FakeServiceFault fault, LoopbackExchange& exchange) {
  using Failure = FakeServiceFailure;
  switch (fault.failure) {
    case Failure::error:
      co_await exchange.answer(fault.status, "application/json", errorBody(fault));
      break;
    case Failure::body:
      co_await exchange.answer(fault.status, "application/json", fault.body);
      break;
    case Failure::cut:
      co_await exchange.readBody([](std::string_view) {}, fault.afterBytes);
      exchange.cut();
      break;
    case Failure::lostAnswer:
      exchange.cut();
      break;
    case Failure::hang:
      co_await exchange.hang();
      break;
    case Failure::slowDrip:
      co_await drip(exchange);
      break;
    case Failure::hugeBody:
      co_await exchange.answer(fault.status, "text/plain", std::string(hugeSize, 'x'));
      break;
    case Failure::redirect: {
      LoopbackExchange::Headers headers;
      headers.emplace_back("Location", fault.location);
      co_await exchange.answer(302, "text/plain", "", headers);
      break;
    }
    case Failure::headerBomb:
      co_await sendHeadersWithoutEnd(exchange);
      break;
  }
}

}  // namespace quillant
