// SPDX-License-Identifier: LGPL-2.1-or-later
#include "emulator/common/wirerequest.h"

#include "emulator/common/percentencoding.h"

namespace KelEmulator {

std::string_view WireRequest::rawPath() const
{
    return std::string_view(target).substr(0, target.find('?'));
}

std::string_view WireRequest::rawQuery() const
{
    const size_t mark = target.find('?');
    return mark == std::string::npos ? std::string_view()
                                     : std::string_view(target).substr(mark + 1);
}

NamedValues queryItems(std::string_view rawQuery)
{
    NamedValues items;
    while (!rawQuery.empty()) {
        const size_t end = rawQuery.find('&');
        const std::string_view item = rawQuery.substr(0, end);
        const size_t sign = item.find('=');
        items.emplace_back(percentDecode(item.substr(0, sign)),
                           sign == std::string_view::npos ? std::string()
                                                          : percentDecode(item.substr(sign + 1)));
        rawQuery = end == std::string_view::npos ? std::string_view() : rawQuery.substr(end + 1);
    }
    return items;
}

bool readForm(const WireRequest& request, std::string& document, std::string& problem)
{
    constexpr std::string_view field = "XMLContent=";
    document.clear();
    if (request.body.empty())
        return true;
    const std::string_view body = request.body;
    if (body.substr(0, field.size()) != field) {
        problem = "the body does not begin with the form field \"XMLContent=\"";
        return false;
    }
    const std::string_view value = body.substr(field.size());
    if (value.find('&') != std::string_view::npos) {
        problem = "the form has more than the one field \"XMLContent\"";
        return false;
    }
    document = percentDecode(value);
    if (document.empty()) {
        problem =
            "the form field \"XMLContent\" is empty; a request without a document has no body";
        return false;
    }
    if (percentEncode(document) != value) {
        problem = "the form value is not percent-encoded as the service wants it (every byte but "
                  "letters, digits and -._~ as \"%\" and two upper-case digits)";
        return false;
    }
    return true;
}

} // namespace KelEmulator
