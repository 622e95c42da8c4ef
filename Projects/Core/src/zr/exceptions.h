#pragma once

#include <exception>
#include <stdexcept>
#include <utility>

#include <zr/containers.h>

/// Base of the core's own exceptions; never thrown by itself.
class Exception : public std::exception
{
public:
    explicit Exception(const char* text) : message(text ? text : "") {}
    explicit Exception(zr::basic_string<char>&& text) : message(std::move(text)) {}

    /// The message alone.
    const char* what() const noexcept override { return message.c_str(); }

protected:
    zr::basic_string<char> message;
};

namespace zr
{
/// A failure that carries the place where it was raised: the path of the source file under the repository's root
/// and the line. Neither is part of `what()`.
class ExtException : public Exception
{
public:
    ExtException(const char* text, const char* sourceFile, i32 sourceLine)
        : Exception(text),
          file(sourceFile ? sourceFile : ""),
          line(sourceLine)
    {
    }
    ExtException(basic_string<char>&& text, const char* sourceFile, i32 sourceLine)
        : Exception(std::move(text)),
          file(sourceFile ? sourceFile : ""),
          line(sourceLine)
    {
    }

    const char* getFile() const noexcept { return file.c_str(); }
    i32 getLine() const noexcept { return line; }

private:
    basic_string<char> file;
    i32 line;
};

/// A source of bytes that could not be read.
class ReadError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Bytes that end too early or are not in the expected format.
class ReadFormatError : public ReadError
{
public:
    explicit ReadFormatError(const char* text = "Not enough input data") : ReadError(text) {}
};

/// zlib refused its input. With a null text the text is zlib's own for the code.
class ZlibError : public ReadError
{
public:
    explicit ZlibError(i32 code, const char* text = nullptr);

    i32 code;
};

/// zstd refused its input. The text is zstd's own for the code.
class ZstdError : public ReadError
{
public:
    explicit ZstdError(u64 code);

    u64 code;
};
} // namespace zr

/// The path of this source file under the repository's root (the build maps the prefix away) and this line.
#define ZR_HERE __FILE__, __LINE__

/// Throws a `zr::ExtException` from here.
#define ZR_RAISE(message) throw ::zr::ExtException((message), ZR_HERE)
