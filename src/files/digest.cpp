#include "files/digest.h"

#include <cstring>

namespace Holvane {
namespace Internal {

namespace {

constexpr std::size_t kBlockSize = 64;

constexpr std::uint32_t kInitialChaining[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                               0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

constexpr std::uint32_t kRoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

std::uint32_t rotateRight(std::uint32_t value, int bits)
{
    return (value >> bits) | (value << (32 - bits));
}

std::uint32_t loadBigEndian(unsigned char const* bytes)
{
    return (std::uint32_t(bytes[0]) << 24) | (std::uint32_t(bytes[1]) << 16) | (std::uint32_t(bytes[2]) << 8) |
           std::uint32_t(bytes[3]);
}

void storeBigEndian(std::uint32_t value, unsigned char* bytes)
{
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}

void compressBlock(std::uint32_t chaining[8], unsigned char const* block)
{
    std::uint32_t w[64];
    for (int i = 0; i < 16; ++i)
        w[i] = loadBigEndian(block + 4 * i);
    for (int i = 16; i < 64; ++i) {
        std::uint32_t s0 = rotateRight(w[i - 15], 7) ^ rotateRight(w[i - 15], 18) ^ (w[i - 15] >> 3);
        std::uint32_t s1 = rotateRight(w[i - 2], 17) ^ rotateRight(w[i - 2], 19) ^ (w[i - 2] >> 10);
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    std::uint32_t v[8];
    std::memcpy(v, chaining, sizeof v);
    for (int i = 0; i < 64; ++i) {
        std::uint32_t s1 = rotateRight(v[4], 6) ^ rotateRight(v[4], 11) ^ rotateRight(v[4], 25);
        std::uint32_t choose = (v[4] & v[5]) ^ (~v[4] & v[6]);
        std::uint32_t t1 = v[7] + s1 + choose + kRoundConstants[i] + w[i];
        std::uint32_t s0 = rotateRight(v[0], 2) ^ rotateRight(v[0], 13) ^ rotateRight(v[0], 22);
        std::uint32_t majority = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
        std::uint32_t t2 = s0 + majority;
        std::memmove(v + 1, v, 7 * sizeof v[0]);
        v[4] += t1;
        v[0] = t1 + t2;
    }
    for (int i = 0; i < 8; ++i)
        chaining[i] += v[i];
}

}  // namespace

void digestStart(HashSum& hash)
{
    std::memcpy(hash.chaining, kInitialChaining, sizeof hash.chaining);
    hash.totalLength = 0;
    hash.pendingLength = 0;
}

void digestFeed(HashSum& hash, void const* data, std::size_t size)
{
    auto const* bytes = static_cast<unsigned char const*>(data);
    while (size > 0) {
        if (hash.pendingLength == 0 && size >= kBlockSize) {
            compressBlock(hash.chaining, bytes);
            hash.totalLength += kBlockSize;
            bytes += kBlockSize;
            size -= kBlockSize;
            continue;
        }
        std::size_t take = kBlockSize - hash.pendingLength;
        if (take > size)
            take = size;
        std::memcpy(hash.block + hash.pendingLength, bytes, take);
        hash.pendingLength += static_cast<std::uint32_t>(take);
        bytes += take;
        size -= take;
        if (hash.pendingLength == kBlockSize) {
            compressBlock(hash.chaining, hash.block);
            hash.totalLength += kBlockSize;
            hash.pendingLength = 0;
        }
    }
}

void digestFinish(HashSum& hash)
{
    // Only the low 32 bits of the bit count: the counters are 32-bit and the product wraps.
    std::uint32_t bitCount = (hash.totalLength + hash.pendingLength) << 3;
    std::size_t paddedLength = hash.pendingLength + 9 <= kBlockSize ? kBlockSize : 2 * kBlockSize;
    std::memset(hash.block + hash.pendingLength, 0, paddedLength - hash.pendingLength);
    hash.block[hash.pendingLength] = 0x80;
    storeBigEndian(bitCount, hash.block + paddedLength - 4);
    for (std::size_t offset = 0; offset < paddedLength; offset += kBlockSize)
        compressBlock(hash.chaining, hash.block + offset);
    for (int i = 0; i < 8; ++i)
        storeBigEndian(hash.chaining[i], hash.digest + 4 * i);
}

int hashSumOf(HashSum const& hash)
{
    int sum = 0;
    for (unsigned char byte : hash.digest)
        sum += byte;
    return sum;
}

}  // namespace Internal
}  // namespace Holvane
