#include "desk/serve/Site.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <string_view>

#include "desk/parse/Text.h"
#include "desk/serve/Frame.h"
#include "desk/serve/Views.h"

namespace kaveldesk {
namespace {

using Status = ReportMaker::Result::Status;

// Only own files: what an archive says can neither run nor load anything.
constexpr const char* kPolicy =
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src data:; connect-src "
        "'self'; "
        "form-action 'self'; base-uri 'none'; frame-ancestors 'none'; "
        "require-trusted-types-for 'script'; trusted-types 'none'";
// A report has a policy of its own. In a sandbox it cannot reach the other pages either.
constexpr const char* kReportPolicy =
        "sandbox allow-scripts allow-downloads allow-modals; frame-ancestors 'none'";
constexpr const char* kPolicyHeader = "Content-Security-Policy";
constexpr const char* kHtml = "text/html; charset=utf-8";
constexpr const char* kPlain = "text/plain; charset=utf-8";

enum HttpStatus : int {
    kOk = 200,
    kBadRequest = 400,
    kUnauthorized = 401,
    kForbidden = 403,
    kNotFound = 404,
    kBadMethod = 405,
    kFailed = 500,
    kBusy = 503,
};

/** A request's head to read, and the reply that is written. */
class MemoryStream : public httplib::Stream {
  public:
    explicit MemoryStream(std::string_view head) : mHead(head) {}
    std::string takeReply() { return std::move(mReply); }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* to, size_t size) override {
        const size_t count = mHead.copy(to, size);
        mHead.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* from, size_t size) override {
        mReply.append(from, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    socket_t socket() const override { return 0; }

  private:
    std::string_view mHead;
    std::string mReply;
};

struct ViewRoute {
    std::string_view path;  // "/NAME/" has a subject of hexadecimal digits behind it
    View (*view)(const Visit& visit);
};
constexpr ViewRoute kViews[] = {
        {"/", overview}, {"/catches", catchesView}, {"/fingerprint/", fingerprintView}};
constexpr std::string_view kReport = "/report/";
constexpr size_t kHashDigits = 64;

bool areHexDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

/** What follows @p route in @p path; empty unless it is hexadecimal digits. */
std::string subjectOf(std::string_view route, std::string_view path) {
    if (!startsWith(path, route)) return {};
    path.remove_prefix(route.size());
    return areHexDigits(path) ? std::string(path) : std::string();
}

int64_t nowUtc() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

}  // namespace

class Site::Server : private httplib::Server {
  public:
    Server(std::unique_ptr<Store> store, SiteState& state)
          : mStore(std::move(store)), mState(state) {
        set_default_headers({{"X-Content-Type-Options", "nosniff"},
                             {"Referrer-Policy", "no-referrer"},
                             {"Cache-Control", "no-store"},
                             {"Cross-Origin-Opener-Policy", "same-origin"},
                             {"Cross-Origin-Resource-Policy", "same-origin"}});
        set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& out) {
            out.set_header(kPolicyHeader, kPolicy);
            try {
                handle(request, out);
            } catch (const std::invalid_argument& error) {
                sendView(out, sentence("Not understood", error.what()), kBadRequest);
            } catch (const std::exception& error) {
                sendView(out, sentence("Failed", error.what()), kFailed);
            }
            return HandlerResponse::Handled;
        });
    }

    std::string answer(const std::string& head) {
        MemoryStream stream(head);
        bool isClosed = false;
        // Parts of a page, perhaps the same one many times, are of no use, nor is a packed one.
        process_request(stream, true, isClosed, [](httplib::Request& request) {
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
        });
        return stream.takeReply();
    }

  private:
    static View sentence(const char* title, const std::string& text) {
        return {title, Html("<p class=\"empty\">{}</p>", text)};
    }
    static void send(httplib::Response& out, const char* type, std::string text, int status) {
        out.status = status;
        out.set_content(text, type);
    }
    static void sendView(httplib::Response& out, const View& view, int status) {
        send(out, kHtml, framed(view, "", {}, std::nullopt), status);
    }

    void handle(const httplib::Request& request, httplib::Response& out) {
        const std::string authorization = request.get_header_value("Authorization");
        if (request.get_header_value_count("Host") != 1 ||
            !mState.guard.isOwnHost(request.get_header_value("Host"))) {
            return send(out, kPlain, "This server has another name.\n", kForbidden);
        }
        if (request.method != "GET" && request.method != "HEAD") {
            out.set_header("Allow", "GET, HEAD");
            return send(out, kPlain, "Pages can be read only.\n", kBadMethod);
        }
        if (request.path == "/page.css")
            return sendFile(out, "text/css; charset=utf-8", kPageStyle);
        if (request.path == "/page.js") {
            return sendFile(out, "text/javascript; charset=utf-8", kPageScript);
        }
        if (!mState.guard.lets(authorization, request.get_header_value("Cookie"))) {
            out.set_header("WWW-Authenticate", "Bearer");
            return sendView(out, loginView(), kUnauthorized);
        }
        if (request.path == "/login") {
            if (mState.guard.hasToken(authorization)) {
                out.set_header("Set-Cookie", mState.guard.loginCookie());
            }
            return send(out, kPlain, "", kOk);
        }
        if (request.path == "/changes") {
            return send(out, kPlain, std::to_string(mState.changes), kOk);
        }
        sendContent(request, out);
    }

    static void sendFile(httplib::Response& out, const char* type, std::string_view text) {
        send(out, type, std::string(text), kOk);
    }

    void sendContent(const httplib::Request& request, httplib::Response& out) {
        const std::string hash = subjectOf(kReport, request.path);
        if (hash.size() == kHashDigits) return sendReport(hash, out);
        for (const auto& [path, view] : kViews) {
            const bool hasSubject = path.size() > 1 && path.back() == '/';
            const std::string subject = hasSubject ? subjectOf(path, request.path) : "";
            if (hasSubject ? subject.empty() : request.path != path) continue;
            return sendVisit(request, view, subject, out);
        }
        sendView(out, sentence("Not found", "There is no such page."), kNotFound);
    }

    void sendVisit(const httplib::Request& request, View (*view)(const Visit&),
                   const std::string& subject, httplib::Response& out) {
        // Before the view is made: what changes meanwhile is shown next time.
        const uint64_t changes = mState.changes;
        Visit visit{*mStore, subject, {}, {}, request.get_param_value("behind"), nowUtc()};
        for (const FilterField& field : kFilterFields) {
            const std::string text = request.get_param_value(field.name);
            if (!text.empty()) visit.texts[field.name] = text;
        }
        visit.filter = filterOf(visit.texts, visit.nowUtc);
        const View shown = view(visit);
        send(out, kHtml,
             framed(shown, request.path, visit.texts,
                    mState.isWatching ? std::optional(changes) : std::nullopt),
             shown.isFound ? kOk : kNotFound);
    }

    void sendReport(const std::string& hash, httplib::Response& out) {
        ReportMaker::Result result = mState.reports.make(*mStore, hash);
        if (result.status == Status::NotFound) {
            return sendView(out, sentence("Not found", result.text), kNotFound);
        }
        if (result.status == Status::Busy) {
            out.set_header("Refresh", "1");
            return sendView(out, sentence("Wait", result.text), kBusy);
        }
        out.headers.erase(kPolicyHeader);
        out.set_header(kPolicyHeader, kReportPolicy);
        out.status = kOk;
        out.body = std::move(result.text);
        out.set_header("Content-Type", kHtml);
    }

    const std::unique_ptr<Store> mStore;
    SiteState& mState;
};

Site::Site(std::unique_ptr<Store> store, SiteState& state)
      : mServer(std::make_unique<Server>(std::move(store), state)) {}
Site::~Site() = default;
Site::Site(Site&&) noexcept = default;

std::string Site::answer(const std::string& head) {
    try {
        return mServer->answer(head);
    } catch (const std::exception&) {
        return {};  // no memory: the connection ends without a reply
    }
}

}  // namespace kaveldesk
