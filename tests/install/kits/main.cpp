// A program on the kits of an installed tree: it measures a line and draws it.
#include <cstdio>

#include "kalvora/kalvora.h"
#include "kalvora/typeset/typeset.h"

int main(int, char** argv) {
  KTypeface face;
  if (!face.Load(argv[1])) return 1;
  KParagraph text;
  text.SetStyle({&face, KFixed::FromInt(20), {}});
  text.SetText("installed");
  KSoftPixmap picture;
  picture.Create(100, 30, KFormat0888PM);
  KSoftContext2D context;
  if (!picture.pixels || !context.RenderToTexture(&picture)) return 1;
  context.Clear(KColor32(255, 255, 255, 255));
  text.Draw(context, KVertex2D::Origin);
  unsigned ink = 0;
  for (const std::uint32_t* p = picture.Row32(0); p < picture.Row32(30); ++p) ink += *p != ~0u;
  std::printf("%lld %u\n", static_cast<long long>(KRoundLength(text.Width())), ink);
  return ink > 100 ? 0 : 1;
}
