#include "ZelvoGateway/recordings/s3/S3Address.h"
#include "ZelvoGateway/recordings/s3/S3Answers.h"
#include "ZelvoGateway/recordings/s3/S3Credentials.h"
#include "ZelvoGateway/recordings/s3/XmlElements.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

// What a store answers, and the file with its credentials.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo::service;
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    XmlLimits const limits{.maxDepth = 4, .maxElements = 16, .maxText = 32};
    if (auto const elements = xmlElements(text, limits)) {
        if (elements->empty() || elements->size() > limits.maxElements)
            std::abort();
        for (XmlElement const& element : *elements)
            if (element.text.size() > limits.maxText)
                std::abort();
    }
    if (auto const page = S3ObjectPage::parse(text); page && S3UploadPage::parse(text))
        std::abort(); // One document is not two kinds.
    S3Error::parse(text);
    if (auto const id = createdUploadIn(text); id && id->empty())
        std::abort();
    isCompletion(text);
    if (!isCompletion("<CompleteMultipartUploadResult>" + s3XmlText("<&>") +
                      "</CompleteMultipartUploadResult>"))
        std::abort();
    if (s3Unescaped(s3Escaped(text)) != text)
        std::abort();
    try {
        S3Credentials const read = S3Credentials::parse(text, "f");
        if (read.accessKey.empty() || read.secretKey.empty())
            std::abort();
    } catch (std::runtime_error const&) {
    }
    return 0;
}
