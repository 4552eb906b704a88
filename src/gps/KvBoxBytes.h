#pragma once

// Readers of the binary numbers of the "gps0" box and its walk. The byte orders are mixed on
// purpose, matching the box: the box header's size is big-endian while the record fields are
// little-endian. hex2short, hex2int and hex2long read big-endian, and hex2long reads only four
// bytes (zero-extended) exactly like hex2int; hex2double takes eight bytes in the host's own
// (little-endian) order without any swap. tst_boxbytes pins each of these.
short hex2short(unsigned char* bytes);
int hex2int(unsigned char* bytes);
long hex2long(unsigned char* bytes);
double hex2double(unsigned char* bytes);
