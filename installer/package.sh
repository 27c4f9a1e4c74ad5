#!/usr/bin/env bash
# package.sh VERSION WXS MSI: builds the installer MSI of the programs in the current folder.
set -euo pipefail

version=$1 source=$2 msi=$3
rm -f "$msi"
wixl -a x64 -D Version="$version" -o "$msi" "$source"

# The types of actions that call a function of an installed library with the rights of the installer. What undoes another
# action runs when the installation fails, and its own failure changes nothing.
library=17 deferred=1024 rollback=256 without_user=2048 ignoring=64
act=$((library + deferred + without_user))
undo=$((act + rollback + ignoring))

# add_action NAME TYPE FUNCTION
add_action() {
    msibuild "$msi" -q "INSERT INTO \`CustomAction\` (\`Action\`, \`Type\`, \`Source\`, \`Target\`)
                        VALUES ('$1', $2, 'JyFlvSource.dll', '$3')"
}
add_action Register $act RegisterServerFromMsi
add_action UndoRegister $undo UnregisterServerFromMsi
add_action Unregister $act UnregisterServerFromMsi
add_action UndoUnregister $undo RegisterServerFromMsi
