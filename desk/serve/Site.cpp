#include "desk/serve/Site.h"

#include <httplib.h>

#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>

#include "desk/parse/Text.h"
#include "desk/serve/Frame.h"

namespace kaveldesk {
namespace {

using httplib::Request;
using httplib::Response;
using Status = ReportMaker::Result::Status;

// Only own files: what an archive says can neither run nor load anything.
constexpr const char* kPolicy =
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src data:; "
        "connect-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'; "
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

int64_t nowUtc() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

/** What follows @p route in @p path; nullopt if the route is another one. */
std::optional<std::string> subjectOf(std::string_view route, std::string_view path) {
    const bool hasSubject = route.size() > 1 && route.back() == '/';
    if (!startsWith(path, route) || (path.size() > route.size()) != hasSubject) return std::nullopt;
    path.remove_prefix(route.size());
    if (path.find_first_not_of("0123456789abcdef") != std::string_view::npos) return std::nullopt;
    return std::string(path);
}

void send(Response& out, const char* type, std::string text, int status = kOk) {
    out.status = status;
    out.body = std::move(text);
    out.set_header("Content-Type", type);
}

void sendSentence(Response& out, const char* title, const std::string& text, int status) {
    const View view{title, Html("<p class=\"empty\">{}</p>", text)};
    send(out, kHtml, framed(view, "", {}, std::nullopt), status);
}

}  // namespace

Site::Site(std::unique_ptr<Store> store, SiteState& state)
      : mStore(std::move(store)),
        mState(state),
        mRoutes(routes()),
        mReplies([this](const Request& request, Response& out) { handle(request, out); }) {}

std::vector<Site::Route> Site::routes() {
    const auto file = [](const char* type, std::string_view text) {
        return [=](const Asked&, Response& out) { send(out, type, std::string(text)); };
    };
    const auto page = [this](View (*view)(const Visit&)) {
        return [=](const Asked& asked, Response& out) { sendPage(view, asked, out); };
    };
    return {{"/page.css", file("text/css; charset=utf-8", kPageStyle), true},
            {"/page.js", file("text/javascript; charset=utf-8", kPageScript), true},
            {"/login", [this](const Asked& asked, Response& out) { login(asked, out); }},
            {"/changes",
             [this](const Asked&, Response& out) {
                 send(out, kPlain, std::to_string(mState.changes));
             }},
            {"/", page(overview)},
            {"/catches", page(catchesView)},
            {"/fingerprint/", page(fingerprintView)},
            {"/report/", [this](const Asked& asked, Response& out) { sendReport(asked, out); }}};
}

std::string Site::answer(const std::string& head) {
    try {
        return mReplies.answer(head);
    } catch (const std::exception&) {
        return {};  // no memory: the connection ends without a reply
    }
}

void Site::handle(const Request& request, Response& out) {
    out.set_header(kPolicyHeader, kPolicy);
    if (request.get_header_value_count("Host") != 1 ||
        !mState.guard.isOwnHost(request.get_header_value("Host"))) {
        return send(out, kPlain, "This server has another name.\n", kForbidden);
    }
    if (request.method != "GET" && request.method != "HEAD") {
        out.set_header("Allow", "GET, HEAD");
        return send(out, kPlain, "Pages can be read only.\n", kBadMethod);
    }
    const Route* route = nullptr;
    Asked asked{request, {}};
    for (const Route& each : mRoutes) {
        const auto subject = subjectOf(each.path, request.path);
        if (!subject) continue;
        route = &each;
        asked.subject = *subject;
    }
    const bool isOpen = route != nullptr && route->isOpen;
    if (!isOpen && !mState.guard.lets(request.get_header_value("Authorization"),
                                      request.get_header_value("Cookie"))) {
        out.set_header("WWW-Authenticate", "Bearer");
        return send(out, kHtml, framed(loginView(), "", {}, std::nullopt), kUnauthorized);
    }
    if (route == nullptr) {
        return sendSentence(out, "Not found", "There is no such page.", kNotFound);
    }
    try {
        route->send(asked, out);
    } catch (const std::invalid_argument& error) {
        sendSentence(out, "Not understood", error.what(), kBadRequest);
    } catch (const std::exception& error) {
        sendSentence(out, "Failed", error.what(), kFailed);
    }
}

void Site::login(const Asked& asked, Response& out) const {
    if (mState.guard.hasToken(asked.request.get_header_value("Authorization"))) {
        out.set_header("Set-Cookie", mState.guard.loginCookie());
    }
    send(out, kPlain, "");
}

void Site::sendPage(View (*view)(const Visit&), const Asked& asked, Response& out) {
    // Before the view is made: what changes meanwhile is shown next time.
    const uint64_t changes = mState.changes;
    const Request& request = asked.request;
    Visit visit{*mStore, asked.subject, {}, {}, request.get_param_value("behind"), nowUtc()};
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

void Site::sendReport(const Asked& asked, Response& out) {
    ReportMaker::Result result = mState.reports.make(*mStore, asked.subject);
    if (result.status == Status::NotFound) {
        return sendSentence(out, "Not found", result.text, kNotFound);
    }
    if (result.status == Status::Busy) {
        out.set_header("Refresh", "1");
        return sendSentence(out, "Wait", result.text, kBusy);
    }
    out.headers.erase(kPolicyHeader);
    out.set_header(kPolicyHeader, kReportPolicy);
    send(out, kHtml, std::move(result.text));
}

}  // namespace kaveldesk
