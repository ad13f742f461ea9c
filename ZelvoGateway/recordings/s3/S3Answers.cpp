#include "ZelvoGateway/recordings/s3/S3Answers.h"

#include "ZelvoGateway/recordings/s3/S3Address.h"
#include "ZelvoGateway/recordings/s3/XmlElements.h"
#include "base/DateText.h"

#include <charconv>

namespace zelvo::service {

namespace {

using Elements = std::vector<XmlElement>;

/// The elements of a document with this root, with their paths below it; the root ends last.
std::optional<Elements> elementsBelow(std::string_view root, std::string_view body)
{
    auto elements = xmlElements(body);
    if (!elements || elements->empty() || elements->back().path != root)
        return std::nullopt;
    elements->pop_back();
    for (XmlElement& element : *elements)
        element.path.erase(0, root.size() + 1);
    return elements;
}

std::uint64_t numberIn(std::string const& text)
{
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// A date that can't be read counts as new, so nothing is removed for its age.
Date dateIn(std::string const& text)
{
    return dates::parseIso8601(text).value_or(Date::max());
}

} // namespace

std::optional<S3Error> S3Error::parse(std::string_view body)
{
    auto const elements = elementsBelow("Error", body);
    if (!elements)
        return std::nullopt;
    S3Error error;
    for (auto const& [path, text] : *elements) {
        if (path == "Code")
            error.code = text;
        else if (path == "Region")
            error.region = text;
        else if (path == "Endpoint")
            error.endpoint = text;
    }
    return error;
}

std::optional<S3ObjectPage> S3ObjectPage::parse(std::string_view body)
{
    auto const elements = elementsBelow("ListBucketResult", body);
    if (!elements)
        return std::nullopt;
    S3ObjectPage page;
    S3Object object;
    bool isCut = false;
    for (auto const& [path, text] : *elements) {
        if (path == "Contents/Key")
            object.key = s3Unescaped(text);
        else if (path == "Contents/Size")
            object.bytes = numberIn(text);
        else if (path == "Contents/LastModified")
            object.modified = dateIn(text);
        else if (path == "Contents")
            page.objects.push_back(std::exchange(object, {}));
        else if (path == "IsTruncated")
            isCut = text == "true";
        else if (path == "NextContinuationToken")
            page.next = text;
    }
    if (isCut == page.next.empty()) // A listing that ends without its end would hide objects.
        return std::nullopt;
    return page;
}

std::optional<S3UploadPage> S3UploadPage::parse(std::string_view body)
{
    auto const elements = elementsBelow("ListMultipartUploadsResult", body);
    if (!elements)
        return std::nullopt;
    S3UploadPage page;
    S3Upload upload;
    bool isCut = false;
    for (auto const& [path, text] : *elements) {
        if (path == "Upload/Key")
            upload.key = s3Unescaped(text);
        else if (path == "Upload/UploadId")
            upload.id = text;
        else if (path == "Upload/Initiated")
            upload.begun = dateIn(text);
        else if (path == "Upload")
            page.uploads.push_back(std::exchange(upload, {}));
        else if (path == "IsTruncated")
            isCut = text == "true";
        else if (path == "NextKeyMarker")
            page.nextKey = s3Unescaped(text);
        else if (path == "NextUploadIdMarker")
            page.nextId = text;
    }
    if (!isCut)
        page.nextKey = page.nextId = "";
    else if (page.nextKey.empty())
        return std::nullopt;
    return page;
}

std::optional<std::string> createdUploadIn(std::string_view body)
{
    auto const elements = elementsBelow("InitiateMultipartUploadResult", body);
    if (elements)
        for (auto const& [path, text] : *elements)
            if (path == "UploadId" && !text.empty())
                return text;
    return std::nullopt;
}

bool isCompletion(std::string_view body)
{
    return elementsBelow("CompleteMultipartUploadResult", body).has_value();
}

std::string completionOf(std::vector<std::string> const& partTags)
{
    std::string text = "<CompleteMultipartUpload xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">";
    std::size_t number = 0;
    for (std::string const& tag : partTags)
        text += "<Part><PartNumber>" + std::to_string(++number) + "</PartNumber><ETag>" + s3XmlText(tag) +
                "</ETag></Part>";
    return text + "</CompleteMultipartUpload>";
}

} // namespace zelvo::service
