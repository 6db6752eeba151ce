// The service over HTTP on this machine, and the files of the page.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "host/serve/feed.h"
#include "host/serve/service.h"

namespace zarn::serve {

struct http_setup_t {
    int port = 0;                ///< 0 for any that is free
    std::filesystem::path page;  ///< folder of the built page, "" where there is none
    /// Called with the address once the server listens.
    std::function<void(const std::string& address)> ready;
};

/// Listens on 127.0.0.1 until the process ends. Raises `RpcError` when it cannot.
void serve_http(Service& service, Feed& feed, const http_setup_t& setup);

/// 128 random bits in hexadecimal digits.
std::string make_token();

}  // namespace zarn::serve
