#include "host/serve/http.h"

#include <httplib.h>
#include <sys/random.h>

#include <array>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>
#include <utility>

#include "core/format.h"
#include "host/document/document.h"
#include "host/draw/svg.h"
#include "host/serve/rpc.h"

namespace zarn::serve {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_bytes = std::size_t{256} << 20;  // of a request
constexpr std::size_t threads = 32;                         // each stream of events holds one
constexpr std::chrono::milliseconds heartbeat{15'000};

constexpr const char* policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; connect-src 'self'; "
    "worker-src 'self'; font-src 'self'; manifest-src 'none'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'";

// The library packs what it knows as text or plain JSON, as tightly as it can: 23 s for a view of 10,000 blocks that is
// read on the same machine. A type with its letters named is not packed.
constexpr const char* json_type = "application/json; charset=utf-8";

constexpr const char* no_page =
    "<!doctype html><title>zarn studio</title><p>This command was built without the page of the studio. "
    "<code>make studio</code> in the sources builds it.</p>";

const char* type_of(const fs::path& file) {
    static constexpr std::array<std::pair<std::string_view, const char*>, 8> types{{
        {".html", "text/html; charset=utf-8"},
        {".js", "application/javascript; charset=utf-8"},
        {".css", "text/css; charset=utf-8"},
        {".svg", "image/svg+xml"},
        {".png", "image/png"},
        {".json", "application/json"},
        {".woff2", "font/woff2"},
        {".txt", "text/plain; charset=utf-8"},
    }};
    for (const auto& [ending, type] : types)
        if (file.extension() == ending) return type;
    return "application/octet-stream";
}

/// Compares without telling by its time where the texts differ.
bool same_secret(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    unsigned char differs = 0;
    for (std::size_t i = 0; i < a.size(); ++i) differs = static_cast<unsigned char>(differs | (a[i] ^ b[i]));
    return differs == 0;
}

void answer_text(httplib::Response& response, int status, const char* text) {
    response.status = status;
    response.set_content(text, "text/plain; charset=utf-8");
}

class HttpServer {
public:
    HttpServer(Service& service, Feed& feed, const http_setup_t& setup)
        : service_(service), feed_(feed), page_(setup.page.empty() ? fs::path() : fs::weakly_canonical(setup.page)) {
        server_.new_task_queue = [] { return new httplib::ThreadPool(threads); };  // owned by the server
        server_.set_payload_max_length(most_bytes);
        server_.set_keep_alive_max_count(100'000);
        server_.set_tcp_nodelay(true);
        server_.set_default_headers({{"Content-Security-Policy", policy},
                                     {"X-Content-Type-Options", "nosniff"},
                                     {"Referrer-Policy", "no-referrer"},
                                     {"Cross-Origin-Resource-Policy", "same-origin"},
                                     {"Cross-Origin-Opener-Policy", "same-origin"},
                                     {"Cache-Control", "no-store"}});
        server_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            return admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                            : httplib::Server::HandlerResponse::Handled;
        });
        server_.Post("/rpc", [this](const httplib::Request& request, httplib::Response& response) {
            const auto answer = service_.answer(request.body);
            if (answer) response.set_content(*answer, json_type);
            else response.status = 204;
        });
        server_.Get("/events", [this](const httplib::Request&, httplib::Response& response) { events(response); });
        server_.Get("/diagram.css", [](const httplib::Request&, httplib::Response& response) {
            response.set_content(std::string(draw::stylesheet()), "text/css; charset=utf-8");
        });
        server_.Get("/.*", [this](const httplib::Request& request, httplib::Response& response) {
            send_file(request.path, response);
        });
        port_ = setup.port == 0 ? server_.bind_to_any_port("127.0.0.1")
                                : (server_.bind_to_port("127.0.0.1", setup.port) ? setup.port : -1);
        if (port_ < 0)
            throw RpcError(error_t::file, tessel::format("port {} of this machine cannot be had", setup.port),
                           "leave --port out for any that is free");
        for (const char* name : {"127.0.0.1", "localhost", "[::1]"})
            hosts_.push_back(tessel::format("{}:{}", name, port_));
    }

    std::string address() const { return tessel::format("http://127.0.0.1:{}/#token={}", port_, token_); }
    void listen() { server_.listen_after_bind(); }

private:
    bool admit(const httplib::Request& request, httplib::Response& response) const {
        const auto is_own = [this](const std::string& host) {
            return std::find(hosts_.begin(), hosts_.end(), host) != hosts_.end();
        };
        if (request.get_header_value_count("Host") != 1 || !is_own(request.get_header_value("Host"))) {
            answer_text(response, 403, "this server answers to its own name only\n");
            return false;
        }
        if (request.has_header("Origin")) {
            const std::string origin = request.get_header_value("Origin");
            constexpr std::string_view scheme = "http://";
            if (!origin.starts_with(scheme) || !is_own(origin.substr(scheme.size()))) {
                answer_text(response, 403, "this server answers its own page only\n");
                return false;
            }
        }
        if (request.path != "/rpc" && request.path != "/events") return true;
        if (same_secret(request.get_header_value("Authorization"), "Bearer " + token_)) return true;
        answer_text(response, 401, "the token is missing or wrong: take the address that the server has printed\n");
        return false;
    }

    void events(httplib::Response& response) {
        auto ear = feed_.listen();
        response.set_chunked_content_provider("text/event-stream", [ear](std::size_t, httplib::DataSink& sink) {
            const auto text = ear->next(heartbeat);
            const std::string piece = text ? "data: " + *text + "\n\n" : ": still here\n\n";
            if (!sink.write(piece.data(), piece.size())) return false;
            if (ear->closed()) sink.done();
            return true;
        });
    }

    void send_file(const std::string& path, httplib::Response& response) const {
        std::error_code error;
        const bool is_root = path == "/" || path.empty();
        if (page_.empty() || !fs::exists(page_ / "index.html", error)) {
            if (!is_root) return answer_text(response, 404, "no such file\n");
            return response.set_content(no_page, "text/html; charset=utf-8");
        }
        const fs::path file = page_ / (is_root ? "index.html" : path.substr(1));
        if (path.find('\0') != std::string::npos || !is_within(file, page_) || !fs::is_regular_file(file, error))
            return answer_text(response, 404, "no such file\n");
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream content;
        content << stream.rdbuf();
        response.set_content(content.str(), type_of(file));
    }

    Service& service_;
    Feed& feed_;
    fs::path page_;
    httplib::Server server_;
    int port_ = -1;
    std::string token_ = make_token();
    std::vector<std::string> hosts_;
};

}  // namespace

std::string make_token() {
    std::array<unsigned char, 16> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw RpcError(error_t::failed, "the machine gives no random numbers");
    std::string token;
    for (const unsigned char byte : bytes) token += tessel::format("{:02x}", byte);
    return token;
}

void serve_http(Service& service, Feed& feed, const http_setup_t& setup) {
    HttpServer server(service, feed, setup);
    setup.ready(server.address());
    server.listen();
}

}  // namespace zarn::serve
