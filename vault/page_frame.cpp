#include "vault/page_frame.h"

#include <nettle/base64.h>
#include <nettle/sha2.h>

#include <array>
#include <cstdint>

#include "vault/page_style.h"
#include "vault/svg_plots.h"

namespace vault {

namespace {

/// As a content security policy names it.
std::string style_hash() {
  sha256_ctx context = {};
  sha256_init(&context);
  sha256_update(&context, kPageStyle.size(), reinterpret_cast<const std::uint8_t*>(kPageStyle.data()));
  std::array<std::uint8_t, SHA256_DIGEST_SIZE> digest = {};
  sha256_digest(&context, digest.size(), digest.data());
  std::string text(BASE64_ENCODE_RAW_LENGTH(SHA256_DIGEST_SIZE), '\0');
  base64_encode_raw(text.data(), digest.size(), digest.data());
  return "'sha256-" + text + "'";
}

}  // namespace

std::string page_start(const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src " +
         style_hash() +
         "; base-uri 'none'; form-action 'none'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
         html_text(title) + "</title>\n<style>" + std::string(kPageStyle) +
         "</style>\n</head>\n<body>\n<main>\n<h1>" + html_text(title) + "</h1>\n";
}

std::string page_end() { return "</main>\n</body>\n</html>\n"; }

}  // namespace vault
