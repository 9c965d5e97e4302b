// One kind of acknowledged GVCP exchange: its command and acknowledge codes and the log lines
// the port writes when it goes wrong.
#pragma once

#include <cstdint>

struct tsGvcpExchange {
  const char* function;  // the name the log lines carry
  uint16_t command;
  uint16_t answer;  // the acknowledge code expected
  // Log formats, each given one value; a null format logs nothing.
  const char* timeout;        // the error text of ETIMEDOUT
  const char* waitFailed;     // the error text of the failed wait
  const char* receiveFailed;  // the error text of the failed receive
  const char* shortReply;     // the bytes received
  bool logRefusal;            // whether a refused acknowledgement is logged
};
