// Texts that Tarnwell shows in the explorer, in Spanish. UTF-8; the extension reads from the first
// brace on. Menu items stand after the explorer's own, so they read like these.
var language = {
    "menu": {
        "open": "Abrir"
    },
    "tarnwellDLL": {
        "sign": "Firmar",
        "encrypt": "Cifrar",
        "signencrypt": "Firmar y cifrar",
        "recover": "Descifrar y abrir",
        "recover_veryfy": "Comprobar y abrir",
        "general_error_title": "No se pudo ejecutar el comando",
        "general_error_message": "No se procesó el archivo. Compruebe que el administrador Corvane está instalado y que el archivo no está dañado y, después, vuelva a intentarlo.",
        "open_file_error_message": "El archivo se extrajo, pero no se pudo abrir. Ábralo desde su carpeta con el programa que prefiera.",
        "recover_error_title": "No se pudo extraer el contenido",
        "recover_error_message": "No se pudo guardar el contenido del archivo firmado en su carpeta. Compruebe que el archivo no está dañado y que tiene permiso para guardar archivos en esta carpeta y, después, vuelva a intentarlo.",
        "signed_by": "Firmado por",
        "signed_on": "Firmado el"
    }
};
