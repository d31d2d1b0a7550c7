#pragma once

/// The check digit (0 to 9) of a number, by the recursive modulo-10 method: modulo10Checksum(12345) is 7.
/// The labels of devices and systems carry it as their last digit, so that a mistyped or swapped digit is noticed.
constexpr unsigned int modulo10Checksum(unsigned int value)
{
    constexpr unsigned int carryTable[] = {0, 9, 4, 6, 8, 2, 7, 1, 3, 5};
    unsigned int carry = 0;
    for (unsigned int divisor = 1000000000; divisor != 0; divisor /= 10)
        carry = carryTable[(carry + value / divisor % 10) % 10];
    return (10 - carry) % 10;
}
