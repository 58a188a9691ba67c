#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"

namespace {

using namespace keys;
using namespace menus;

constexpr auto rows = std::to_array<Page_Row>({
    {enMarkerToBig,
     {Greyed(enMarkerToCenter), Greyed(enMarkerToStep), Greyed(enMarkerToStart), Greyed(enMarkerToStop),
      Greyed(enMarkerToRef), Greyed(enDeltaToSpan), Greyed(enDeltaToCenter)}},
});

}  // namespace

std::array<Menu_Page, 1> MarkertoLink = Pages<1>(17, rows);

void menus::Reset_Markerto() { MarkertoLink = Pages<1>(17, rows); }

void Markerto_HwKey() { menus::Open_First_Page(MarkertoLink[0]); }

void Markerto_SwKey(int key, char) { Press_Soft_Key(key, "Markerto_SwKey error"); }
