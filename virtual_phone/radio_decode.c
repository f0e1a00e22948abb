/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_decode.h"

#include "radio_text.h"

static const struct radio_layout one_number = {1, 0, {{RADIO_SIGNED, 0, 4}}};

static int64_t signed_number(uint32_t number, size_t size) {
  int64_t sign = (int64_t)1 << (8 * size - 1);

  return ((int64_t)number ^ sign) - sign;
}

static void put_field(struct radio_writer *out, const struct radio_field *field, const uint8_t *data) {
  const uint8_t *at = data + field->at;

  switch (field->form) {
  case RADIO_SIGNED:
    radio_put_number(out, signed_number(radio_number_at(at, field->size), field->size));
    break;
  case RADIO_UNSIGNED: radio_put_number(out, radio_number_at(at, field->size)); break;
  case RADIO_HEX: radio_put_hex_number(out, radio_number_at(at, field->size)); break;
  case RADIO_STRING: radio_put_string(out, at, field->size); break;
  case RADIO_BYTES: radio_put_bytes(out, at, field->size, 0); break;
  }
}

static void put_layout(const struct radio_layout *layout, const uint8_t *data, char *text) {
  struct radio_writer out = {text, RADIO_TEXT_SIZE, 0};
  size_t i;

  for (i = 0; i < layout->count; i++) {
    if (i) radio_put(&out, layout->separator);
    put_field(&out, &layout->field[i], data);
  }
  radio_put_end(&out);
}

void radio_decode(uint32_t chip, uint32_t id, const uint8_t *before, const uint8_t *after,
                  struct radio_decoded *decoded) {
  const struct radio_form *form = radio_chip_command_form(chip, id);

  memset(decoded, 0, sizeof(*decoded));
  decoded->form = form;
  put_layout(form ? &form->request : &one_number, before, decoded->sent);
  if (form && after) put_layout(&form->answer, after, decoded->answer);
}
