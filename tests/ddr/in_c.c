/* A program in C converts records. */
#include <kelvane/ddr.h>
#include <kelvane/token.h>

int encode_point_in_c(POINT point, unsigned char* buffer, int size);

int encode_point_in_c(POINT point, unsigned char* buffer, int size) {
  DDR stream;
  ddrmem_create(&stream, buffer, size, DDR_ENCODE);
  return ddr_POINT(&stream, &point);
}
