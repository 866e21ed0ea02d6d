#!/usr/bin/env bash
# What p7tool builds, read by programs that share no code with it: openssl and gpgsm verify and
# decrypt it; and what they build, opened by p7tool.
set -euo pipefail
tool=$TARNWELL_BUILD/p7tool
for program in openssl gpgsm gpgconf python3; do
    command -v "$program" >/dev/null ||
        { echo "$program is missing; scripts/install-packages.sh installs it" >&2; exit 1; }
done
work=$(mktemp -d)
export GNUPGHOME=$work/gnupg
trap 'gpgconf --kill all 2>/dev/null || true; rm -rf "$work"' EXIT
cd "$work"
mkdir -m 700 gnupg

passed=0
check() { # TEXT COMMAND...: a step that must succeed; shows what it said where it does not
    local text=$1
    shift
    if ! "$@" >out.log 2>&1; then
        printf 'FAILED: %s\n  %s\n' "$text" "$*"
        cat out.log
        exit 1
    fi
    passed=$((passed + 1))
    echo "ok: $text"
}
says() { # TEXT: the last step's output holds it
    grep -q -- "$1" out.log || { echo "FAILED: no \"$1\" in:" && cat out.log && exit 1; }
}

make_key() { # NAME COMMON-NAME OPTION...
    local name=$1 cn=$2
    shift 2
    openssl req -x509 "$@" -nodes -keyout "$name.key" -out "$name.pem" -days 30 -subj "/CN=$cn" \
        -addext 'keyUsage=digitalSignature,keyEncipherment,keyCertSign' 2>/dev/null
    # gpgsm trusts what this file names.
    openssl x509 -in "$name.pem" -noout -fingerprint -sha1 | sed 's/.*=//; s/$/ S relax/' \
        >>gnupg/trustlist.txt
}
make_key rsa 'Rita RSA' -newkey rsa:2048
make_key other 'Otto Other' -newkey rsa:3072
make_key ec 'Ed EC' -newkey ec -pkeyopt ec_paramgen_curve:P-256
head -c 100000 /dev/urandom >content.bin
: >empty.bin

gpgsm() {
    command gpgsm --batch --disable-crl-checks --disable-dirmngr --pinentry-mode loopback \
        --passphrase-fd 3 "$@" 3<<<test
}
check "gpgsm takes the certificates" gpgsm --import rsa.pem ec.pem other.pem
# gpgsm reads few of the ciphers that protect such files: leave the certificate in clear.
openssl pkcs12 -export -in rsa.pem -inkey rsa.key -passout pass:test -certpbe NONE \
    -keypbe PBE-SHA1-3DES -macalg sha1 -out rsa.p12
check "gpgsm takes the key" gpgsm --import rsa.p12

for input in content.bin empty.bin; do
    for signers in rsa ec 'rsa ec'; do
        options=()
        for name in $signers; do
            options+=(--signer "$name.pem" --key "$name.key")
        done
        cat rsa.pem ec.pem >roots.pem
        check "sign $input with $signers" "$tool" sign "${options[@]}" "$input" signed.p7
        for command in cms smime; do
            check "openssl $command verifies it" openssl "$command" -verify -inform DER -binary \
                -in signed.p7 -CAfile roots.pem -purpose any -out verified.bin
            cmp "$input" verified.bin
        done
        if [[ $input != empty.bin ]]; then # gpgsm takes an empty content for a detached one
            check "gpgsm verifies it" gpgsm --yes --output verified.bin --status-fd 1 \
                --verify signed.p7
            [[ $(grep -c '^\[GNUPG:\] GOODSIG' out.log) == $(wc -w <<<"$signers") ]]
            cmp "$input" verified.bin
        fi
    done

    check "p7tool opens it" "$tool" recover signed.p7
    cmp "$input" signed

    check "encrypt $input" "$tool" encrypt --recipient rsa.pem --recipient other.pem "$input" sealed.p7m
    for command in cms smime; do
        for name in rsa other; do
            check "openssl $command decrypts it for $name" openssl "$command" -decrypt -inform DER \
                -in sealed.p7m -recip "$name.pem" -inkey "$name.key" -binary -out opened.bin
            cmp "$input" opened.bin
        done
    done
    check "gpgsm decrypts it" gpgsm --yes --output opened.bin --decrypt sealed.p7m
    cmp "$input" opened.bin

    # No foreign tool opens the signed and enveloped type, but all parse it.
    check "sign and encrypt $input" "$tool" signencrypt --signer ec.pem --key ec.key \
        --recipient rsa.pem "$input" both.bin.p7m
    check "openssl pkcs7 parses it" openssl pkcs7 -inform DER -in both.bin.p7m -print -noout
    says 'pkcs7-signedAndEnvelopedData'
    check "p7tool opens it" "$tool" recover --cert rsa.pem --key rsa.key both.bin.p7m
    cmp "$input" both.bin
done

check "openssl cms encrypts" openssl cms -encrypt -outform DER -in content.bin -binary -aes256 \
    -out foreign.bin.p7m rsa.pem
check "p7tool opens it" "$tool" recover --cert rsa.pem --key rsa.key foreign.bin.p7m
cmp content.bin foreign.bin
check "gpgsm encrypts" gpgsm --yes --recipient 0x"$(openssl x509 -in rsa.pem -noout \
    -fingerprint -sha1 | sed 's/.*=//; s/://g')" --output foreign.bin.p7m --encrypt content.bin
check "p7tool opens it" "$tool" recover --cert rsa.pem --key rsa.key foreign.bin.p7m
cmp content.bin foreign.bin
check "gpgsm signs" gpgsm --yes --include-certs -1 --output foreign.bin.p7 --sign content.bin
check "p7tool verifies it" "$tool" info foreign.bin.p7
says '"subject":"Rita RSA".*"verified":true'
says "\"sha256\":\"$(sha256sum content.bin | cut -d' ' -f1)\""

# Names that mean harm to whoever writes JSON.
name=$'quote" back\\slash\nline\ttab .p7'
cp signed.p7 "$name"
check "info of a hostile name" "$tool" info "$name"
mv out.log info.json
check "its line is JSON" python3 -c '
import json, sys
lines = open("info.json", encoding="utf-8").read().splitlines()
assert len(lines) == 1 and json.loads(lines[0])["file"] == sys.argv[1], lines' "$name"

echo "$passed checks passed"
