// Test-side view of the files and key material the management software keeps: the framework
// object with the board's key component (bytes) and work key (text), and where the platform's
// file manager keeps a file. Setters are the back door: nothing is recorded.
#ifndef BSPSIM_KEYS_HPP
#define BSPSIM_KEYS_HPP

#include <cstdint>
#include <string>
#include <vector>

#include "bspsim/sim.hpp"

namespace bspsim {

// The object that holds the key material on the shipped boards, and its two properties.
inline constexpr const char *kKeyObject = "EncryptKey";
inline constexpr const char *kKeyComponent = "Component";  // byte array ("ay")
inline constexpr const char *kWorkKey = "WorkKey";         // text

// Set on the key object, which is made (class "EncryptKey") where the profile has none.
void set_key_component(Board &board, const std::vector<uint8_t> &bytes);
void set_work_key(Board &board, const std::string &text);
// As stored; empty when there is none (or the property holds another type).
std::vector<uint8_t> key_component(const Board &board);
std::string work_key(const Board &board);

// The file the file manager names by `a`, `b` and `c`: DIR/fm/A/B.C in the board's directory
// (the same path fm_get_file_path builds). `make` creates it, empty, with its directories.
std::string fm_file(const Board &board, const std::string &a, const std::string &b, uint32_t c, bool make = false);

}  // namespace bspsim

#endif
